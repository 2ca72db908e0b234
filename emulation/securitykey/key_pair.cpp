#include "emulation/securitykey/key_pair.h"

#include <openssl/core_names.h>

namespace ctap {

namespace {

constexpr int kCoordinateSize = 32;    // bytes
constexpr qint64 kEcdhEsHkdf256 = -25; // what CTAP puts into keys that agree

// Labels of a COSE_Key.
constexpr qint64 kKeyType = 1;
constexpr qint64 kAlgorithm = 3;
constexpr qint64 kCurve = -1;
constexpr qint64 kX = -2;
constexpr qint64 kY = -3;

constexpr qint64 kTypeOkp = 1;
constexpr qint64 kTypeEc2 = 2;
constexpr qint64 kCurveP256 = 1;
constexpr qint64 kCurveEd25519 = 6;

QByteArray coordinate(const openssl::Key& key, const char* name)
{
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(key.get(), name, &number);
    const openssl::BigNumber owner(number);
    QByteArray bytes(kCoordinateSize, '\0');
    if (number)
        BN_bn2binpad(number, reinterpret_cast<unsigned char*>(bytes.data()), kCoordinateSize);
    return bytes;
}

QByteArray rawPublicKey(const openssl::Key& key)
{
    QByteArray bytes(kCoordinateSize, '\0');
    std::size_t size = kCoordinateSize;
    EVP_PKEY_get_raw_public_key(key.get(), reinterpret_cast<unsigned char*>(bytes.data()), &size);
    return bytes;
}

QCborMap ec2Key(const openssl::Key& key, qint64 algorithm)
{
    return {{kKeyType, kTypeEc2},
            {kAlgorithm, algorithm},
            {kCurve, kCurveP256},
            {kX, coordinate(key, OSSL_PKEY_PARAM_EC_PUB_X)},
            {kY, coordinate(key, OSSL_PKEY_PARAM_EC_PUB_Y)}};
}

/// Null for a point that is not on the curve.
openssl::Key publicKey(const QByteArray& x, const QByteArray& y)
{
    const QByteArray point = '\x04' + x + y;
    const openssl::ParameterBuilder builder(OSSL_PARAM_BLD_new());
    if (!builder || !OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, "P-256", 0) ||
        !OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.constData(),
                                          std::size_t(point.size())))
        return nullptr;
    const openssl::Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const openssl::KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    EVP_PKEY* key = nullptr;
    if (!parameters || !context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.get()) != 1)
        return nullptr;
    return openssl::Key(key);
}

} // namespace

bool isSupported(qint64 identifier)
{
    return identifier == qint64(Algorithm::Es256) || identifier == qint64(Algorithm::EdDsa);
}

openssl::Key makeKey(Algorithm algorithm)
{
    return openssl::Key(algorithm == Algorithm::Es256 ? EVP_EC_gen("P-256")
                                                      : EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
}

std::optional<Algorithm> algorithmOf(const openssl::Key& key)
{
    if (!key)
        return {};
    if (EVP_PKEY_is_a(key.get(), "ED25519"))
        return Algorithm::EdDsa;
    char group[32] = "";
    EVP_PKEY_get_group_name(key.get(), group, sizeof group, nullptr);
    return EVP_PKEY_is_a(key.get(), "EC") && qstrcmp(group, "prime256v1") == 0 ? std::optional(Algorithm::Es256)
                                                                               : std::nullopt;
}

QByteArray sign(const openssl::Key& key, const QByteArray& message)
{
    const openssl::DigestContext context(EVP_MD_CTX_new());
    const auto* bytes = reinterpret_cast<const unsigned char*>(message.constData());
    const auto length = std::size_t(message.size());
    const EVP_MD* digest = EVP_PKEY_is_a(key.get(), "ED25519") ? nullptr : EVP_sha256();
    std::size_t size = 0;
    if (!context || EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, key.get()) != 1 ||
        EVP_DigestSign(context.get(), nullptr, &size, bytes, length) != 1)
        return {};
    QByteArray signature(int(size), '\0');
    if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size, bytes, length) != 1)
        return {};
    return signature.left(int(size));
}

QCborMap coseKey(const openssl::Key& key)
{
    if (algorithmOf(key) == Algorithm::Es256)
        return ec2Key(key, qint64(Algorithm::Es256));
    return {
        {kKeyType, kTypeOkp}, {kAlgorithm, qint64(Algorithm::EdDsa)}, {kCurve, kCurveEd25519}, {kX, rawPublicKey(key)}};
}

QByteArray uncompressedPoint(const openssl::Key& key)
{
    return '\x04' + coordinate(key, OSSL_PKEY_PARAM_EC_PUB_X) + coordinate(key, OSSL_PKEY_PARAM_EC_PUB_Y);
}

std::optional<QByteArray> agree(const openssl::Key& own, const QCborMap& peer)
{
    const QByteArray x = peer.value(kX).toByteArray();
    const QByteArray y = peer.value(kY).toByteArray();
    if (peer.value(kKeyType).toInteger() != kTypeEc2 || peer.value(kCurve).toInteger() != kCurveP256 ||
        x.size() != kCoordinateSize || y.size() != kCoordinateSize)
        return {};
    const openssl::Key other = publicKey(x, y);
    const openssl::KeyContext context(EVP_PKEY_CTX_new(own.get(), nullptr));
    QByteArray secret(kCoordinateSize, '\0');
    std::size_t size = kCoordinateSize;
    const bool agreed = other && context && EVP_PKEY_derive_init(context.get()) == 1 &&
                        EVP_PKEY_derive_set_peer(context.get(), other.get()) == 1 &&
                        EVP_PKEY_derive(context.get(), reinterpret_cast<unsigned char*>(secret.data()), &size) == 1;
    return agreed ? std::optional(secret) : std::nullopt;
}

QCborMap agreementKey(const openssl::Key& key)
{
    return ec2Key(key, kEcdhEsHkdf256);
}

} // namespace ctap
