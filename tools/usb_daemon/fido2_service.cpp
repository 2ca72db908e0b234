#include "tools/usb_daemon/fido2_service.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QPointer>

namespace {

constexpr qint64 kLongestCommand = 64 * 1024; // bytes

QString text(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

void writeLine(QLocalSocket* caller, const QJsonObject& object)
{
    caller->write(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
    caller->flush();
    caller->disconnectFromServer();
}

/// What a request says of a credential of the file.
QJsonObject candidateOf(const QJsonObject& credential)
{
    const QJsonObject user = credential.value(QStringLiteral("user")).toObject();
    return {{QStringLiteral("id"), credential.value(QStringLiteral("id"))},
            {QStringLiteral("userName"), user.value(QStringLiteral("name"))},
            {QStringLiteral("userDisplayName"), user.value(QStringLiteral("displayName"))},
            {QStringLiteral("description"), credential.value(QStringLiteral("description"))},
            {QStringLiteral("createdAt"), credential.value(QStringLiteral("createdAt"))},
            {QStringLiteral("signatureCounter"), credential.value(QStringLiteral("sigCnt"))}};
}

} // namespace

QString fido2ControlName(qint64 processId)
{
    return QStringLiteral("Fido2Control_%1").arg(processId);
}

Fido2Service::Fido2Service(const DeviceContext& context)
    : m_store(context.device.parameters, context.folder)
    , m_channel(context.processId)
    , m_controlName(fido2ControlName(context.processId))
{
    m_control.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_control, &QLocalServer::newConnection, this, &Fido2Service::takeCommand);
}

QString Fido2Service::start()
{
    for (const QString& fault : {m_store.prepare(), m_channel.listen()}) {
        if (!fault.isEmpty())
            return fault;
    }
    QLocalServer::removeServer(m_controlName);
    return m_control.listen(m_controlName) ? QString()
                                           : QStringLiteral("The server \"%1\" does not listen.").arg(m_controlName);
}

void Fido2Service::takeCommand()
{
    while (QLocalSocket* caller = m_control.nextPendingConnection()) {
        connect(caller, &QLocalSocket::disconnected, caller, &QObject::deleteLater);
        connect(caller, &QLocalSocket::readyRead, this, [this, caller] {
            if (caller->canReadLine())
                runCommand(caller, QJsonDocument::fromJson(caller->readLine(kLongestCommand)).object());
            else if (caller->bytesAvailable() > kLongestCommand)
                caller->abort();
        });
    }
}

void Fido2Service::runCommand(QLocalSocket* caller, const QJsonObject& command)
{
    const QString operation = text(command, "operation");
    const bool asked =
        m_channel.ask(operation, requestData(operation, command),
                      [this, command, alive = QPointer<QLocalSocket>(caller)](
                          bool confirmed, const QJsonObject& result) { report(alive, command, confirmed, result); });
    if (!asked)
        writeLine(caller, {{QStringLiteral("error"), QStringLiteral("another request waits for its answer")}});
}

QJsonObject Fido2Service::requestData(const QString& operation, const QJsonObject& command) const
{
    const QString rpId = text(command, "rp");
    QJsonObject data{{QStringLiteral("operation"), operation},
                     {QStringLiteral("rpId"), rpId},
                     {QStringLiteral("rpName"), text(command, "rpName")},
                     {QStringLiteral("userName"), text(command, "user")},
                     {QStringLiteral("userDisplayName"), text(command, "displayName")},
                     {QStringLiteral("deviceSerialNumber"), m_store.serialNumber()},
                     {QStringLiteral("deviceName"), m_store.deviceName()},
                     {QStringLiteral("timestamp"), QDateTime::currentMSecsSinceEpoch()}};
    if (operation == QStringLiteral("make_credential")) {
        constexpr int kEs256 = -7; // COSE algorithm identifier
        data.insert(QStringLiteral("supportedAlgorithms"),
                    QJsonArray{QJsonObject{{QStringLiteral("type"), QStringLiteral("public-key")},
                                           {QStringLiteral("id"), kEs256}}});
        data.insert(QStringLiteral("allowDescriptionInput"), true);
    } else if (operation == QStringLiteral("get_assertion")) {
        QJsonArray candidates;
        for (const QJsonValue& credential : m_store.credentialsOf(rpId))
            candidates.append(candidateOf(credential.toObject()));
        data.insert(QStringLiteral("isPasswordlessLogin"), true);
        data.insert(QStringLiteral("availableCredentials"), candidates);
    }
    return data;
}

void Fido2Service::report(QLocalSocket* caller, const QJsonObject& command, bool confirmed, QJsonObject result) const
{
    QJsonObject answer{{QStringLiteral("confirmed"), confirmed}, {QStringLiteral("data"), result}};
    if (confirmed && text(command, "operation") == QStringLiteral("make_credential"))
        answer.insert(QStringLiteral("credentialId"),
                      m_store.add({text(command, "rp"), text(command, "rpName"), text(command, "user"),
                                   text(command, "displayName"), text(result, "description")}));
    if (caller)
        writeLine(caller, answer);
}
