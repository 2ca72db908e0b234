#include "emulation/securitykey/questions.h"

#include <QDateTime>

namespace ctap {

namespace {

QString hex(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex());
}

void insertUser(QJsonObject& question, const Credential& credential)
{
    question.insert(QStringLiteral("rpId"), credential.rpId);
    question.insert(QStringLiteral("rpName"), credential.rpName);
    question.insert(QStringLiteral("userName"), credential.userName);
    question.insert(QStringLiteral("userDisplayName"), credential.userDisplayName);
    question.insert(QStringLiteral("userId"), hex(credential.userId));
    question.insert(QStringLiteral("credentialType"), QStringLiteral("public-key"));
    question.insert(QStringLiteral("algorithm"), credential.algorithm);
    question.insert(QStringLiteral("userPresenceRequired"), true);
}

QJsonObject candidateOf(const Credential& credential)
{
    return {{QStringLiteral("id"), hex(credential.id)},
            {QStringLiteral("userName"), credential.userName},
            {QStringLiteral("userDisplayName"), credential.userDisplayName},
            {QStringLiteral("description"), credential.description},
            {QStringLiteral("createdAt"), credential.createdAt},
            {QStringLiteral("signatureCounter"), double(credential.signatureCount)}};
}

} // namespace

QJsonObject plainQuestion(const KeyStore& store, const QString& operation)
{
    return {{QStringLiteral("operation"), operation},
            {QStringLiteral("deviceSerialNumber"), store.serialNumber()},
            {QStringLiteral("deviceName"), store.deviceName()},
            {QStringLiteral("timestamp"), QDateTime::currentMSecsSinceEpoch()}};
}

QJsonObject makeCredentialQuestion(const KeyStore& store, const MakeCredentialRequest& request, bool isVerified)
{
    QJsonObject question = plainQuestion(store, QStringLiteral("make_credential"));
    insertUser(question, request.wanted);
    question.insert(QStringLiteral("supportedAlgorithms"), request.offeredAlgorithms);
    question.insert(QStringLiteral("userVerificationRequired"), isVerified);
    question.insert(QStringLiteral("pinRequired"), isVerified);
    question.insert(QStringLiteral("allowDescriptionInput"), true);
    return question;
}

QJsonObject getAssertionQuestion(const KeyStore& store, const std::vector<Credential>& candidates, bool userChooses,
                                 bool isVerified)
{
    QJsonObject question = plainQuestion(store, QStringLiteral("get_assertion"));
    const Credential& first = candidates.front();
    insertUser(question, first);
    question.insert(QStringLiteral("credentialId"), hex(first.id));
    question.insert(QStringLiteral("signatureCounter"), double(first.signatureCount));
    question.insert(QStringLiteral("transports"), QJsonArray{QStringLiteral("usb")});
    question.insert(QStringLiteral("userVerificationRequired"), isVerified);
    question.insert(QStringLiteral("pinRequired"), isVerified);
    question.insert(QStringLiteral("isPasswordlessLogin"), userChooses);
    QJsonArray shown;
    for (const Credential& candidate : candidates)
        shown.append(candidateOf(candidate));
    question.insert(QStringLiteral("availableCredentials"), shown);
    return question;
}

} // namespace ctap
