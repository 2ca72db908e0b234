// request_server.h: requests to the key's user that come from a command line instead of a host (see request_command.h).
#pragma once

#include "emulation/channels/fido2_server.h"
#include "emulation/securitykey/key_store.h"

#include <QJsonObject>
#include <QLocalServer>
#include <QObject>

namespace ctap {

/// Asks for what a command wants through the local server "Fido2Control_PID": one line of JSON each way, a connection
/// for each.
class RequestServer final : public QObject
{
    Q_OBJECT

public:
    /// Both outlive this object.
    RequestServer(const KeyStore& store, Fido2Server& channel, qint64 processId);

    /// Empty, or the sentence that says why it does not listen.
    QString listen();

    /// Of the server of that process.
    static QString name(qint64 processId);

private:
    void takeCommand();
    void runCommand(QLocalSocket* caller, const QJsonObject& command);
    QJsonObject requestData(const QString& operation, const QJsonObject& command) const;
    void report(QLocalSocket* caller, const QJsonObject& command, bool confirmed, QJsonObject result) const;

    const KeyStore& m_store;
    Fido2Server& m_channel;
    QLocalServer m_server;
    QString m_name;
};

} // namespace ctap
