#include "emulation/securitykey/attestation.h"

#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/key_material.h"
#include "emulation/securitykey/key_pair.h"

#include <QtEndian>

namespace ctap {

namespace {

template<typename Number>
QByteArray bigEndian(Number value)
{
    QByteArray bytes(int(sizeof value), '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

} // namespace

const QByteArray& aaguid()
{
    static const QByteArray s_aaguid = QByteArray::fromHex("c74963cd7f2f525c9c11c8452f680700");
    return s_aaguid;
}

std::optional<Attestation> makeAttestation(const Authority& authority)
{
    Attestation attestation;
    attestation.key = makeKey(Algorithm::Es256);
    const auto certificate =
        makeAttestationCertificate(attestation.key, authority.certificate, authority.key, aaguid());
    if (!certificate)
        return {};
    attestation.certificate = derOf(certificate);
    return attestation;
}

QByteArray authenticatorData(const QByteArray& rpIdHash, int flags, std::uint32_t signatureCount,
                             const QByteArray& tail)
{
    return rpIdHash + char(flags) + bigEndian(signatureCount) + tail;
}

QByteArray attestedData(const QByteArray& credentialId, const openssl::Key& key)
{
    return aaguid() + bigEndian(std::uint16_t(credentialId.size())) + credentialId +
           encodeCbor(coseKey(key)).value_or(QByteArray());
}

} // namespace ctap
