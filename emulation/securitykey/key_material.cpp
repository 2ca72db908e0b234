#include "emulation/securitykey/key_material.h"

#include "runtime/whole_file.h"

#include <QFile>
#include <QFileInfo>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <algorithm>

namespace ctap {

namespace {

constexpr qint64 kLargestFile = 1024 * 1024; // bytes

/// PEM text that `write` puts into a memory buffer; empty when it fails.
template<typename Write>
QByteArray pemText(Write write)
{
    const openssl::Bio buffer(BIO_new(BIO_s_mem()));
    if (!buffer || write(buffer.get()) != 1)
        return {};
    char* text = nullptr;
    const long size = BIO_get_mem_data(buffer.get(), &text);
    return QByteArray(text, static_cast<int>(size));
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    return !bytes.isEmpty() && writeWholeFile(path, bytes).isEmpty();
}

bool addExtension(X509* certificate, int kind, const char* value)
{
    const openssl::Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool addName(X509_NAME* name, int kind, const QString& text)
{
    const QByteArray bytes = text.left(64).toUtf8(); // X.520's bound
    return X509_NAME_add_entry_by_NID(name, kind, MBSTRING_UTF8,
                                      reinterpret_cast<const unsigned char*>(bytes.constData()), bytes.size(), -1,
                                      0) == 1;
}

/// What every certificate of ours has.
openssl::Certificate makeCertificate(const openssl::Key& key, long serial)
{
    openssl::Certificate certificate(X509_new());
    X509* x509 = certificate.get();
    const bool made = x509 && X509_set_version(x509, 2) == 1 // counted from 0
                      && ASN1_INTEGER_set(X509_get_serialNumber(x509), serial) == 1 &&
                      X509_set_pubkey(x509, key.get()) == 1;
    return made ? std::move(certificate) : nullptr;
}

/// The extension with the model's AAGUID, an octet string in the extension's own (WebAuthn, 8.2.1).
bool addAaguid(X509* certificate, const QByteArray& aaguid)
{
    const openssl::Object kind(OBJ_txt2obj("1.3.6.1.4.1.45724.1.1.4", 1));
    const openssl::OctetString value(ASN1_OCTET_STRING_new());
    const QByteArray inner = QByteArray("\x04\x10", 2) + aaguid;
    if (!kind || !value ||
        ASN1_OCTET_STRING_set(value.get(), reinterpret_cast<const unsigned char*>(inner.constData()), inner.size()) !=
            1)
        return false;
    const openssl::Extension extension(X509_EXTENSION_create_by_OBJ(nullptr, kind.get(), 0, value.get()));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

} // namespace

openssl::Certificate makeAuthority(const openssl::Key& key, const QString& commonName)
{
    constexpr long kYears = 10 * 365 * 24 * 60 * 60; // seconds
    openssl::Certificate certificate = makeCertificate(key, 1);
    X509* x509 = certificate.get();
    const bool made = x509 && X509_gmtime_adj(X509_getm_notBefore(x509), 0) &&
                      X509_gmtime_adj(X509_getm_notAfter(x509), kYears) &&
                      addName(X509_get_subject_name(x509), NID_commonName, commonName) &&
                      X509_set_issuer_name(x509, X509_get_subject_name(x509)) == 1 &&
                      addExtension(x509, NID_basic_constraints, "critical,CA:TRUE") &&
                      addExtension(x509, NID_key_usage, "critical,keyCertSign,cRLSign") &&
                      X509_sign(x509, key.get(), EVP_sha256()) > 0;
    return made ? std::move(certificate) : nullptr;
}

openssl::Certificate makeAttestationCertificate(const openssl::Key& key, const openssl::Certificate& authority,
                                                const openssl::Key& authorityKey, const QByteArray& aaguid)
{
    openssl::Certificate certificate = makeCertificate(key, 2);
    X509* x509 = certificate.get();
    if (!x509)
        return nullptr;
    X509_NAME* subject = X509_get_subject_name(x509);
    const bool made = X509_set1_notBefore(x509, X509_get0_notBefore(authority.get())) == 1 &&
                      X509_set1_notAfter(x509, X509_get0_notAfter(authority.get())) == 1 &&
                      addName(subject, NID_countryName, QStringLiteral("AQ")) && // it belongs to no country
                      addName(subject, NID_organizationName, QStringLiteral("Plugboard")) &&
                      addName(subject, NID_organizationalUnitName, QStringLiteral("Authenticator Attestation")) &&
                      addName(subject, NID_commonName, QStringLiteral("Plugboard Security Key")) &&
                      X509_set_issuer_name(x509, X509_get_subject_name(authority.get())) == 1 &&
                      addExtension(x509, NID_basic_constraints, "critical,CA:FALSE") && addAaguid(x509, aaguid) &&
                      X509_sign(x509, authorityKey.get(), EVP_sha256()) > 0;
    return made ? std::move(certificate) : nullptr;
}

QByteArray derOf(const openssl::Certificate& certificate)
{
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(certificate.get(), &bytes);
    const QByteArray der(reinterpret_cast<const char*>(bytes), std::max(size, 0));
    OPENSSL_free(bytes);
    return der;
}

bool writeKeyPair(const openssl::Key& key, const QString& privatePath, const QString& publicPath)
{
    const QByteArray privateText = pemText([&](BIO* buffer) {
        return PEM_write_bio_PKCS8PrivateKey(buffer, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
    const QByteArray publicText = pemText([&](BIO* buffer) { return PEM_write_bio_PUBKEY(buffer, key.get()); });
    return key && writeFile(privatePath, privateText) && writeFile(publicPath, publicText);
}

bool writeCertificate(const openssl::Certificate& certificate, const QString& path)
{
    return certificate &&
           writeFile(path, pemText([&](BIO* buffer) { return PEM_write_bio_X509(buffer, certificate.get()); }));
}

QByteArray readPem(const QString& path)
{
    QFile file(path);
    const bool isReadable = QFileInfo(path).isFile() && file.size() <= kLargestFile && file.open(QIODevice::ReadOnly);
    return isReadable ? file.read(kLargestFile) : QByteArray();
}

openssl::Key privateKeyOf(const QByteArray& pem)
{
    const openssl::Bio text(BIO_new_mem_buf(pem.constData(), pem.size()));
    return openssl::Key(PEM_read_bio_PrivateKey(text.get(), nullptr, openssl::refusePassphrase, nullptr));
}

openssl::Certificate certificateOf(const QByteArray& pem)
{
    const openssl::Bio text(BIO_new_mem_buf(pem.constData(), pem.size()));
    return openssl::Certificate(PEM_read_bio_X509(text.get(), nullptr, openssl::refusePassphrase, nullptr));
}

} // namespace ctap
