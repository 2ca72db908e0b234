#include "emulation/securitykey/credential_entities.h"

namespace ctap {

QCborMap descriptorOf(const Credential& credential)
{
    return {{QStringLiteral("id"), credential.id}, {QStringLiteral("type"), QStringLiteral("public-key")}};
}

QCborMap userEntity(const Credential& credential, bool withNames)
{
    constexpr int kLongestName = 64; // characters; no host shows more
    QCborMap user{{QStringLiteral("id"), credential.userId}};
    if (withNames && !credential.userName.isEmpty())
        user.insert(QStringLiteral("name"), credential.userName.left(kLongestName));
    if (withNames && !credential.userDisplayName.isEmpty())
        user.insert(QStringLiteral("displayName"), credential.userDisplayName.left(kLongestName));
    return user;
}

} // namespace ctap
