#include "emulation/message/device_key.h"

#include <QFile>

#include <openssl/pem.h>

namespace {

constexpr qint64 kLargestKeyFile = 64 * 1024;

} // namespace

Outcome<DeviceKey> deviceKeyFromPem(const QByteArray& pem)
{
    const openssl::Bio bio{BIO_new_mem_buf(pem.constData(), pem.size())};
    openssl::Key key{bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, openssl::refusePassphrase, nullptr) : nullptr};
    if (!key)
        return Fault{QStringLiteral("The device key is not an unencrypted PEM private key.")};
    if (EVP_PKEY_is_a(key.get(), "RSA") != 1)
        return Fault{QStringLiteral("The device key is not an RSA key.")};
    return DeviceKey(std::move(key));
}

Outcome<DeviceKey> readDeviceKey()
{
    const QString named = qEnvironmentVariable("PLUGBOARD_DEVICE_KEY");
    QFile file(named.isEmpty() ? QStringLiteral(":/device_key/private.pem") : named);
    if (file.open(QIODevice::ReadOnly))
        return deviceKeyFromPem(file.read(kLargestKeyFile));
    if (named.isEmpty())
        return Fault{QStringLiteral("This build has no device key: name a PEM file in PLUGBOARD_DEVICE_KEY.")};
    return Fault{QStringLiteral("The device key \"%1\" cannot be read: %2.").arg(named, file.errorString())};
}
