// local_peer.h: which process is at the other end of a local socket, and which user owns the socket's name.
#pragma once

#include <QString>

#include <optional>

enum class PeerOwner
{
    SameUser,
    Administrator, ///< root, an elevated administrator, or the system itself
    Other,
    Unknown, ///< cannot be looked up
};

struct LocalPeer
{
    std::optional<qint64> processId; ///< nothing when the system does not tell
    PeerOwner owner = PeerOwner::Unknown;
    QString user; ///< as a sentence calls it
};

/// The process that made the server, or the one that connected, at the other end of a connected QLocalSocket, whose
/// socketDescriptor() this is. A name alone proves nothing: any program can take it. Implemented per system.
LocalPeer localServer(qintptr socketDescriptor);
LocalPeer localClient(qintptr socketDescriptor);

/// Empty, or the sentence that says why this server is not talked to: another user runs it, or not `process`. Asked
/// right after connecting, before anything is written or read.
QString faultOfServer(qintptr socketDescriptor, const QString& name, std::optional<qint64> process = {});

/// Empty, or the sentence that says why this client is not served: it is neither of the same user nor one who may do
/// everything. Asked right after accepting.
QString faultOfClient(qintptr socketDescriptor, const QString& name);

/// Makes the name free for a server of this process: a socket that the same user left is removed, also one that is
/// served, so names without this process's id are asked for an answer first. Empty, or the reason why the name is not
/// to be had, with its owner. Implemented per system.
QString claimServerName(const QString& name);

/// Removes the sockets of this user that a killed process with this id left behind; the process does not run.
void removeLeftSockets(qint64 processId);

/// Removes the socket of this user that has the name and that nobody serves. Implemented per system.
void removeLeftSocket(const QString& name);
