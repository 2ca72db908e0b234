#include "fido2/channel/fido2_message.h"

#include "fido2/file/log.h"

#include <QJsonDocument>

namespace {

QJsonObject dataFromTopLevel(const QJsonObject& message)
{
    static constexpr const char* kKeys[] = {
        "rpId",
        "rpName",
        "userName",
        "userDisplayName",
        "userId",
        "credentialId",
        "credentialType",
        "algorithm",
        "signatureCounter",
        "userVerificationRequired",
        "userPresenceRequired",
        "pinRequired",
        "deviceSerialNumber",
        "deviceName",
        "timestamp",
        "operation",
        "isPasswordlessLogin",
        "availableCredentials",
        "transports",
    };
    qCWarning(fido2Log, "ERROR: Received empty data in user confirmation request!");
    qCWarning(fido2Log).noquote() << "Original command:" << QJsonDocument(message).toJson(QJsonDocument::Compact);
    QJsonObject data;
    for (const char* name : kKeys) {
        const QString key = QLatin1String(name);
        if (const auto member = message.constFind(key); member != message.constEnd())
            data.insert(key, *member);
    }
    if (data.isEmpty())
        qCWarning(fido2Log, "Failed to reconstruct data from original command");
    return data;
}

} // namespace

std::optional<ConfirmationQuestion> parseConfirmationQuestion(const QByteArray& bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject()) {
        qCDebug(fido2Log, "dropped %d bytes that are not one message", bytes.size());
        return {};
    }
    const QJsonObject message = document.object();
    if (message.value(QStringLiteral("type")).toString() != QStringLiteral("user_confirmation_request"))
        return {};
    QJsonObject data = message.value(QStringLiteral("data")).toObject();
    if (data.isEmpty())
        data = dataFromTopLevel(message);
    return ConfirmationQuestion{message.value(QStringLiteral("operation")).toString(), data};
}

QJsonObject pingMessage(qint64 timestamp)
{
    return {{QStringLiteral("type"), QStringLiteral("ping")}, {QStringLiteral("timestamp"), timestamp}};
}

QJsonObject confirmationResponse(bool confirmed, const QJsonObject& result, qint64 timestamp)
{
    return {{QStringLiteral("type"), QStringLiteral("user_confirmation_response")},
            {QStringLiteral("confirmed"), confirmed},
            {QStringLiteral("data"), result},
            {QStringLiteral("timestamp"), timestamp}};
}
