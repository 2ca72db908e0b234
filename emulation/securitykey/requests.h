// requests.h: the requests that make and use a credential, read from a host's bytes.
#pragma once

#include "emulation/securitykey/cbor_fields.h"
#include "emulation/securitykey/client_pin.h"
#include "emulation/securitykey/credential.h"

#include <QCborMap>
#include <QJsonArray>

#include <optional>
#include <vector>

namespace ctap {

struct RequestOptions
{
    bool rk = false;
    std::optional<bool> up;
    std::optional<bool> uv;
};

/// authenticatorMakeCredential (CTAP 2.1, 6.1).
struct MakeCredentialRequest
{
    QByteArray clientDataHash;
    Credential wanted; ///< rp, user, isDiscoverable, algorithm (the first one offered that is supported) and protection
    QJsonArray offeredAlgorithms; ///< objects with "type" and "id", as a question to the user shows them
    std::vector<QByteArray> excluded;
    bool hasHmacSecret = false;
    std::optional<int> protection; ///< what the extension credProtect asked for
    RequestOptions options;
    std::optional<PinAuth> pin; ///< with an empty signature: the host only wants the user to touch this key
};

/// Input of the extension hmac-secret (CTAP 2.1, 12.5).
struct HmacSecretRequest
{
    QCborMap keyAgreement;
    QByteArray encryptedSalts;
    PinAuth authentication;
};

/// authenticatorGetAssertion (CTAP 2.1, 6.2).
struct GetAssertionRequest
{
    QString rpId;
    QByteArray clientDataHash;
    std::vector<QByteArray> allowed; ///< empty: any discoverable credential
    std::optional<HmacSecretRequest> hmacSecret;
    RequestOptions options;
    std::optional<PinAuth> pin; ///< as above
};

/// Ok, or what is wrong with the map; `request` is of no use then.
Status read(const QCborMap& map, MakeCredentialRequest& request);
Status read(const QCborMap& map, GetAssertionRequest& request);

/// The id of a credential descriptor; empty for one that is not "public-key".
QByteArray descriptorId(CborFields& fields);

} // namespace ctap
