// local_peer.h: who serves a local socket.
#pragma once

#include <QtGlobal>

#include <optional>

/// Id of the process that made the server at the other end of a connected QLocalSocket, whose socketDescriptor() this
/// is; nothing when the system does not tell. A name alone proves nothing: any program of the user can take it.
std::optional<qint64> localServerProcess(qintptr socketDescriptor);
