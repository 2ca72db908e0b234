// local_service.h: what the local servers of a device process have in common: their names, and who is served.
#pragma once

#include <QString>

class QLocalServer;
class QLocalSocket;

/// Clients of one server at a time; more are turned away.
constexpr int kMostLocalClients = 16;

/// Bytes that may wait for a client that does not read.
constexpr qint64 kMostWaitingForClient = 1024 * 1024;

/// Listens for the same user under a name that bears this process's id. A socket that a killed process with this id
/// left is replaced; what is another user's is not. Empty, or the sentence that says why it does not listen.
QString listenLocally(QLocalServer& server, const QString& name);

/// The next client that may be served, a child of the server that goes once it has disconnected; null when nobody else
/// waits. Others are turned away and logged.
QLocalSocket* nextLocalClient(QLocalServer& server);
