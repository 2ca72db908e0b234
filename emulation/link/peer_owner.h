// peer_owner.h: whose program is at the other end of a connection within this machine.
#pragma once

#include "runtime/local_peer.h"

#include <QHostAddress>

/// The owner of the socket that has `peer` as its own address and `local` as its peer's; IPv4 addresses. Implemented
/// per system.
PeerOwner ownerOfPeer(const QHostAddress& peer, quint16 peerPort, const QHostAddress& local, quint16 localPort);

/// Whether a device may be handed to it: to its own user and to who may do everything. What cannot be looked up is
/// refused, except in builds for tests where the system cannot look up anything else (PLUGBOARD_ADMIT_UNKNOWN_PEERS).
bool mayImport(PeerOwner owner);
