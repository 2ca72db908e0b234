#include "emulation/securitykey/credential_management.h"

#include "emulation/securitykey/authenticator.h"
#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/cbor_fields.h"
#include "emulation/securitykey/credential_entities.h"
#include "emulation/securitykey/key_pair.h"

#include <algorithm>

namespace ctap {

namespace {

using Need = CborFields::Need;

enum Subcommand : int
{
    GetMetadata = 1,
    BeginRelyingParties = 2,
    NextRelyingParty = 3,
    BeginCredentials = 4,
    NextCredential = 5,
    Delete = 6,
    UpdateUser = 7
};

// Members of the request's parameters.
constexpr qint64 kRpIdHash = 1;
constexpr qint64 kCredentialId = 2;
constexpr qint64 kUser = 3;

template<typename Collection>
Credential takeFirst(Collection& credentials)
{
    const Credential first = credentials.front();
    credentials.pop_front();
    return first;
}

} // namespace

void CredentialManagement::forget()
{
    m_relyingParties.clear();
    m_credentials.clear();
}

Reply CredentialManagement::execute(const QCborMap& request)
{
    CborFields fields(request);
    const auto subcommand = int(fields.integer(1, Need::Required));
    if (fields.status() != Status::Ok)
        return fields.status();
    if (subcommand == NextRelyingParty)
        return nextRelyingParty();
    if (subcommand == NextCredential)
        return nextCredential();
    forget();
    if (subcommand < GetMetadata || subcommand > UpdateUser)
        return Status::InvalidSubcommand;

    const QCborMap parameters = fields.map(2, subcommand >= BeginCredentials ? Need::Required : Need::Optional);
    if (!fields.has(4))
        return Status::PinUvAuthTokenRequired;
    const auto version = pinVersion(fields.integer(3, Need::Required));
    const QByteArray signature = fields.bytes(4, Need::Required);
    if (fields.status() != Status::Ok)
        return fields.status();
    if (!version)
        return Status::InvalidParameter;
    const QByteArray message =
        QByteArray(1, char(subcommand)) + (subcommand >= BeginCredentials ? *encodeCbor(parameters) : QByteArray());
    // A token that is bound to one relying party reaches only that one.
    QString rpId;
    if (m_parts.pin.isBoundToRelyingParty() && subcommand >= BeginCredentials)
        rpId = relyingPartyOf(parameters);
    const Status authorised =
        m_parts.pin.authorise({*version, signature}, message, permission::kCredentialManagement, rpId);
    if (authorised != Status::Ok)
        return authorised;
    switch (subcommand) {
    case GetMetadata:
        return metadata();
    case BeginRelyingParties:
        return beginRelyingParties();
    case BeginCredentials:
        return beginCredentials(parameters.value(kRpIdHash).toByteArray());
    case Delete:
        return remove(parameters);
    default:
        return updateUser(parameters);
    }
}

QString CredentialManagement::relyingPartyOf(const QCborMap& parameters) const
{
    const QByteArray rpIdHash = parameters.value(kRpIdHash).toByteArray();
    CborFields descriptor(parameters.value(kCredentialId).toMap());
    const QByteArray id = descriptorId(descriptor);
    for (const Credential& credential : discoverable()) {
        if (credential.rpIdHash == rpIdHash || credential.id == id)
            return credential.rpId;
    }
    return {};
}

std::vector<Credential> CredentialManagement::discoverable() const
{
    std::vector<Credential> credentials = m_parts.store.credentials();
    credentials.erase(std::remove_if(credentials.begin(), credentials.end(),
                                     [](const Credential& credential) { return !credential.isDiscoverable; }),
                      credentials.end());
    return credentials;
}

Reply CredentialManagement::metadata() const
{
    constexpr qint64 kExisting = 1;
    constexpr qint64 kRoom = 2;
    const auto existing = int(discoverable().size());
    return QCborMap{{kExisting, existing}, {kRoom, std::max(kMostDiscoverable - existing, 0)}};
}

Reply CredentialManagement::beginRelyingParties()
{
    constexpr qint64 kTotal = 5;
    for (const Credential& credential : discoverable()) {
        const auto isSame = [&](const Credential& other) { return other.rpIdHash == credential.rpIdHash; };
        if (std::none_of(m_relyingParties.begin(), m_relyingParties.end(), isSame))
            m_relyingParties.push_back(credential);
    }
    if (m_relyingParties.empty())
        return Status::NoCredentials;
    const auto total = qint64(m_relyingParties.size());
    Reply reply = nextRelyingParty();
    reply.body.insert(kTotal, total);
    return reply;
}

Reply CredentialManagement::nextRelyingParty()
{
    constexpr qint64 kRp = 3;
    constexpr qint64 kHash = 4;
    if (m_relyingParties.empty())
        return Status::NotAllowed;
    const Credential credential = takeFirst(m_relyingParties);
    return QCborMap{{kRp, QCborMap{{QStringLiteral("id"), credential.rpId}}}, {kHash, credential.rpIdHash}};
}

Reply CredentialManagement::beginCredentials(const QByteArray& rpIdHash)
{
    constexpr qint64 kTotal = 9;
    for (const Credential& credential : discoverable()) {
        if (credential.rpIdHash == rpIdHash && algorithmOf(m_parts.store.privateKey(credential)))
            m_credentials.push_back(credential);
    }
    if (m_credentials.empty())
        return Status::NoCredentials;
    const auto total = qint64(m_credentials.size());
    Reply reply = nextCredential();
    reply.body.insert(kTotal, total);
    return reply;
}

Reply CredentialManagement::nextCredential()
{
    if (m_credentials.empty())
        return Status::NotAllowed;
    const Credential credential = takeFirst(m_credentials);
    const openssl::Key key = m_parts.store.privateKey(credential);
    if (!algorithmOf(key))
        return Status::Other; // it was there when the enumeration began
    return QCborMap{{6, userEntity(credential, true)},
                    {7, descriptorOf(credential)},
                    {8, coseKey(key)},
                    {10, int(credential.protection)}};
}

std::optional<Credential> CredentialManagement::find(const QByteArray& id) const
{
    for (const Credential& credential : discoverable()) {
        if (credential.id == id)
            return credential;
    }
    return {};
}

Reply CredentialManagement::remove(const QCborMap& parameters) const
{
    CborFields fields(parameters);
    CborFields descriptor(fields.map(kCredentialId, Need::Required));
    const QByteArray id = descriptorId(descriptor);
    fields.fail(descriptor.status());
    if (fields.status() != Status::Ok)
        return fields.status();
    if (!find(id))
        return Status::NoCredentials;
    return m_parts.store.remove(id) ? Status::Ok : Status::Other;
}

Reply CredentialManagement::updateUser(const QCborMap& parameters) const
{
    CborFields fields(parameters);
    CborFields descriptor(fields.map(kCredentialId, Need::Required));
    CborFields user(fields.map(kUser, Need::Required));
    const QByteArray id = descriptorId(descriptor);
    const QByteArray userId = user.bytes(QCborValue(QLatin1String("id")), Need::Required);
    const QString name = user.text(QCborValue(QLatin1String("name")), Need::Optional);
    const QString displayName = user.text(QCborValue(QLatin1String("displayName")), Need::Optional);
    fields.fail(descriptor.status());
    fields.fail(user.status());
    if (fields.status() != Status::Ok)
        return fields.status();
    auto credential = find(id);
    if (!credential)
        return Status::NoCredentials;
    if (credential->userId != userId)
        return Status::InvalidParameter;
    credential->userName = name;
    credential->userDisplayName = displayName;
    return m_parts.store.updateUser(*credential) ? Status::Ok : Status::Other;
}

} // namespace ctap
