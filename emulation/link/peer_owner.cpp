#include "emulation/link/peer_owner.h"

#ifdef PLUGBOARD_ADMIT_UNKNOWN_PEERS
static constexpr bool kAdmitUnknown = true;
#else
static constexpr bool kAdmitUnknown = false;
#endif

bool mayImport(PeerOwner owner)
{
    return owner == PeerOwner::SameUser || owner == PeerOwner::Administrator ||
           (owner == PeerOwner::Unknown && kAdmitUnknown);
}
