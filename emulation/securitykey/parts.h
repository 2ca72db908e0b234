// parts.h: what the commands of an authenticator share.
#pragma once

#include "emulation/securitykey/attestation.h"
#include "emulation/securitykey/client_pin.h"
#include "emulation/securitykey/key_store.h"
#include "emulation/securitykey/user_presence.h"

namespace ctap {

/// All outlive the commands.
struct Parts
{
    const KeyStore& store;
    ClientPin& pin;
    UserPresence& presence;
    const Attestation& attestation;
};

} // namespace ctap
