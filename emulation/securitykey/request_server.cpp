#include "emulation/securitykey/request_server.h"

#include "emulation/channels/local_service.h"
#include "emulation/securitykey/crypto.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/make_credential.h"
#include "emulation/securitykey/questions.h"

#include <QJsonDocument>
#include <QLocalSocket>
#include <QPointer>

namespace ctap {

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

/// Of the relying party and the user that the command names, who may sign in without naming themselves.
Credential wantedCredential(const QJsonObject& command)
{
    constexpr int kUserIdSize = 16; // bytes
    Credential credential;
    credential.rpId = text(command, "rp");
    credential.rpName = text(command, "rpName");
    credential.rpIdHash = sha256(credential.rpId.toUtf8());
    credential.userId = randomBytes(kUserIdSize);
    credential.userName = text(command, "user");
    credential.userDisplayName = text(command, "displayName");
    credential.algorithm = int(Algorithm::Es256);
    credential.isDiscoverable = true;
    return credential;
}

} // namespace

QString RequestServer::name(qint64 processId)
{
    return QStringLiteral("Fido2Control_%1").arg(processId);
}

RequestServer::RequestServer(const KeyStore& store, Fido2Server& channel, qint64 processId)
    : m_store(store)
    , m_channel(channel)
    , m_name(name(processId))
{
    connect(&m_server, &QLocalServer::newConnection, this, &RequestServer::takeCommand);
}

QString RequestServer::listen()
{
    return listenLocally(m_server, m_name);
}

void RequestServer::takeCommand()
{
    while (QLocalSocket* caller = nextLocalClient(m_server)) {
        caller->setReadBufferSize(kLongestCommand + 1);
        connect(caller, &QLocalSocket::readyRead, this, [this, caller] {
            if (caller->canReadLine())
                runCommand(caller, QJsonDocument::fromJson(caller->readLine(kLongestCommand)).object());
            else if (caller->bytesAvailable() > kLongestCommand)
                caller->abort();
        });
    }
}

void RequestServer::runCommand(QLocalSocket* caller, const QJsonObject& command)
{
    const QString operation = text(command, "operation");
    const bool asked =
        m_channel.ask(operation, requestData(operation, command),
                      [this, command, alive = QPointer<QLocalSocket>(caller)](
                          bool confirmed, const QJsonObject& result) { report(alive, command, confirmed, result); });
    if (!asked)
        writeLine(caller, {{QStringLiteral("error"), QStringLiteral("another request waits for its answer")}});
}

QJsonObject RequestServer::requestData(const QString& operation, const QJsonObject& command) const
{
    if (operation == QStringLiteral("make_credential")) {
        MakeCredentialRequest request;
        request.wanted = wantedCredential(command);
        request.offeredAlgorithms = {QJsonObject{{QStringLiteral("type"), QStringLiteral("public-key")},
                                                 {QStringLiteral("id"), request.wanted.algorithm}}};
        return makeCredentialQuestion(m_store, request, false);
    }
    std::vector<Credential> candidates;
    for (Credential& credential : m_store.credentials()) {
        if (operation == QStringLiteral("get_assertion") && credential.rpId == text(command, "rp"))
            candidates.push_back(std::move(credential));
    }
    return candidates.empty() ? plainQuestion(m_store, operation)
                              : getAssertionQuestion(m_store, candidates, true, false);
}

void RequestServer::report(QLocalSocket* caller, const QJsonObject& command, bool confirmed, QJsonObject result) const
{
    QJsonObject answer{{QStringLiteral("confirmed"), confirmed}, {QStringLiteral("data"), result}};
    if (confirmed && text(command, "operation") == QStringLiteral("make_credential")) {
        Credential credential = wantedCredential(command);
        const bool made = addCredential(m_store, credential, text(result, "description")) != nullptr;
        answer.insert(QStringLiteral("credentialId"), made ? QString::fromLatin1(credential.id.toHex()) : QString());
    }
    if (caller)
        writeLine(caller, answer);
}

} // namespace ctap
