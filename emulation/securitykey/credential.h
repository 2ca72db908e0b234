// credential.h: one credential as the credentials file keeps it.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <optional>

namespace ctap {

/// Under which conditions a credential may be used: the extension credProtect (CTAP 2.1, 12.1).
enum class Protection : int
{
    Optional = 1,         ///< anyone who is present
    OptionalWithList = 2, ///< without the PIN only who knows its id
    Required = 3          ///< only with the PIN
};

struct Credential
{
    QByteArray id;
    QString rpId;
    QString rpName;
    QByteArray rpIdHash; ///< SHA-256 of rpId, or what a U2F application said; 32 bytes
    QByteArray userId;
    QString userName;
    QString userDisplayName;
    QString privateKeyFile;
    QString publicKeyFile;
    QString description;
    QString createdAt; ///< local time, "yyyy-MM-dd hh:mm:ss"
    std::uint32_t signatureCount = 0;
    bool isDiscoverable = false;
    int algorithm = 0; ///< COSE; what the key's file holds counts, this is for readers of the file
    Protection protection = Protection::Optional;
    QByteArray secretWithPin;    ///< of the extension hmac-secret, 32 bytes; empty: none
    QByteArray secretWithoutPin; ///< the same for uses without the PIN
};

/// Nothing when the object lacks what a credential needs: an id in hexadecimal and a relying party. A user id that is
/// not hexadecimal, as people write it by hand, stands for its own bytes.
std::optional<Credential> credentialOf(const QJsonObject& object);

QJsonObject toJson(const Credential& credential);

/// Members of the nested object "user" that belong to the credential.
QJsonObject userObject(const Credential& credential);

} // namespace ctap
