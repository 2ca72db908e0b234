#include "tools/usb_daemon/key_material.h"

#include <QSaveFile>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace {

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
    QSaveFile file(path);
    if (bytes.isEmpty() || !file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    return file.write(bytes) == bytes.size() && file.commit();
}

bool addExtension(X509* certificate, int kind, const char* value)
{
    using Extension = std::unique_ptr<X509_EXTENSION, openssl::Deleter<X509_EXTENSION_free>>;
    const Extension extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool nameSubject(X509* certificate, const QString& commonName)
{
    const QByteArray name = commonName.left(64).toUtf8(); // X.520's bound of a common name
    X509_NAME* subject = X509_get_subject_name(certificate);
    return X509_NAME_add_entry_by_NID(subject, NID_commonName, MBSTRING_UTF8,
                                      reinterpret_cast<const unsigned char*>(name.constData()), name.size(), -1,
                                      0) == 1 &&
           X509_set_issuer_name(certificate, subject) == 1;
}

} // namespace

openssl::Key makeKeyPair()
{
    return openssl::Key(EVP_EC_gen("P-256"));
}

openssl::Certificate makeAuthority(const openssl::Key& key, const QString& commonName)
{
    constexpr long kYears = 10 * 365 * 24 * 60 * 60; // seconds
    openssl::Certificate certificate(X509_new());
    X509* x509 = certificate.get();
    const bool made = x509 && X509_set_version(x509, 2) == 1 // counted from 0
                      && ASN1_INTEGER_set(X509_get_serialNumber(x509), 1) == 1 &&
                      X509_gmtime_adj(X509_getm_notBefore(x509), 0) &&
                      X509_gmtime_adj(X509_getm_notAfter(x509), kYears) && X509_set_pubkey(x509, key.get()) == 1 &&
                      nameSubject(x509, commonName) && addExtension(x509, NID_basic_constraints, "critical,CA:TRUE") &&
                      addExtension(x509, NID_key_usage, "critical,keyCertSign,cRLSign") &&
                      X509_sign(x509, key.get(), EVP_sha256()) > 0;
    return made ? std::move(certificate) : nullptr;
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
