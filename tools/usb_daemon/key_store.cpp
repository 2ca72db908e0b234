#include "tools/usb_daemon/key_store.h"

#include "tools/usb_daemon/key_material.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSaveFile>

namespace {

constexpr qint64 kLargestFile = 64 * 1024 * 1024; // bytes

QString randomHex(int bytes)
{
    QByteArray random;
    for (int byte = 0; byte < bytes; ++byte)
        random.append(static_cast<char>(QRandomGenerator::system()->bounded(256)));
    return QString::fromLatin1(random.toHex());
}

} // namespace

KeyStore::KeyStore(const QStringList& parameters, const QString& folder)
    : m_parameters(parameters)
    , m_folder(folder + QStringLiteral("/fido2"))
    , m_path(parameters.value(6))
    , m_serial(parameters.value(5).trimmed())
    , m_name(parameters.value(3))
{
    if (m_path.isEmpty())
        m_path = filePath(QStringLiteral("_credentials.json"));
}

QString KeyStore::filePath(const QString& suffix) const
{
    return m_folder + QLatin1Char('/') + m_serial + suffix;
}

QString KeyStore::prepare() const
{
    QDir().mkpath(m_folder);
    if (!QFileInfo::exists(filePath(QStringLiteral("_ca_cert.pem")))) {
        const openssl::Key key = makeKeyPair();
        if (!writeKeyPair(key, filePath(QStringLiteral("_ca_private.pem")),
                          filePath(QStringLiteral("_ca_public.pem"))) ||
            !writeCertificate(makeAuthority(key, m_serial), filePath(QStringLiteral("_ca_cert.pem"))))
            return QStringLiteral("The certificate of \"%1\" cannot be made in \"%2\".").arg(m_serial, m_folder);
    }
    if (!QFileInfo::exists(filePath(QStringLiteral("_pin_private.pem"))) &&
        !writeKeyPair(makeKeyPair(), filePath(QStringLiteral("_pin_private.pem")),
                      filePath(QStringLiteral("_pin_public.pem"))))
        return QStringLiteral("The PIN keys of \"%1\" cannot be made in \"%2\".").arg(m_serial, m_folder);
    if (!QFileInfo::exists(m_path) && !write(newRoot()))
        return QStringLiteral("The credentials file \"%1\" cannot be written.").arg(m_path);
    return {};
}

QJsonObject KeyStore::newRoot() const
{
    const bool usb3 = m_parameters.value(4) != QStringLiteral("0");
    return {
        {QStringLiteral("deviceInfo"),
         QJsonObject{{QStringLiteral("serialNumber"), m_serial},
                     {QStringLiteral("deviceName"), m_name},
                     {QStringLiteral("vid"), m_parameters.value(1)},
                     {QStringLiteral("pid"), m_parameters.value(2)},
                     {QStringLiteral("usbVersion"), usb3 ? QStringLiteral("3.0") : QStringLiteral("2.0")},
                     {QStringLiteral("supportsPin"), m_parameters.value(7) == QStringLiteral("1")}}},
        {QStringLiteral("caInfo"),
         QJsonObject{{QStringLiteral("caCertificateFile"), m_serial + QStringLiteral("_ca_cert.pem")},
                     {QStringLiteral("caPublicKeyFile"), m_serial + QStringLiteral("_ca_public.pem")},
                     {QStringLiteral("caPrivateKeyFile"), m_serial + QStringLiteral("_ca_private.pem")}}},
        {QStringLiteral("pinInfo"),
         QJsonObject{{QStringLiteral("pinSet"), false},
                     {QStringLiteral("pinRetryCount"), 8},
                     {QStringLiteral("maxPinRetries"), 8},
                     {QStringLiteral("pinPublicKeyFile"), m_serial + QStringLiteral("_pin_public.pem")},
                     {QStringLiteral("pinPrivateKeyFile"), m_serial + QStringLiteral("_pin_private.pem")}}},
        {QStringLiteral("credentials"), QJsonArray()},
    };
}

QJsonObject KeyStore::read() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.read(kLargestFile)).object() : QJsonObject();
}

bool KeyStore::write(const QJsonObject& root) const
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const QByteArray bytes = QJsonDocument(root).toJson();
    return file.write(bytes) == bytes.size() && file.commit();
}

QJsonArray KeyStore::credentialsOf(const QString& rpId) const
{
    QJsonArray found;
    for (const QJsonValue& value : read().value(QStringLiteral("credentials")).toArray()) {
        if (value.toObject().value(QStringLiteral("rp")).toObject().value(QStringLiteral("id")).toString() == rpId)
            found.append(value);
    }
    return found;
}

QString KeyStore::add(const Registration& registration) const
{
    constexpr int kIdBytes = 32;
    constexpr int kHandleBytes = 16;
    const QString id = randomHex(kIdBytes);
    const QString privatePath = m_folder + QStringLiteral("/cred_%1_private.pem").arg(id.left(16));
    const QString publicPath = m_folder + QStringLiteral("/cred_%1_public.pem").arg(id.left(16));
    QJsonObject root = read();
    if (root.isEmpty() || !writeKeyPair(makeKeyPair(), privatePath, publicPath))
        return {};
    QJsonArray credentials = root.value(QStringLiteral("credentials")).toArray();
    credentials.append(QJsonObject{
        {QStringLiteral("id"), id},
        {QStringLiteral("type"), QStringLiteral("public-key")},
        {QStringLiteral("sigCnt"), 0},
        {QStringLiteral("rp"),
         QJsonObject{{QStringLiteral("id"), registration.rpId}, {QStringLiteral("name"), registration.rpName}}},
        {QStringLiteral("user"), QJsonObject{{QStringLiteral("id"), randomHex(kHandleBytes)},
                                             {QStringLiteral("name"), registration.userName},
                                             {QStringLiteral("displayName"), registration.userDisplayName}}},
        {QStringLiteral("privateKeyFile"), privatePath},
        {QStringLiteral("publicKeyFile"), publicPath},
        {QStringLiteral("description"), registration.description},
        {QStringLiteral("createdAt"), QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))},
        {QStringLiteral("supportsResidentKey"), true},
        {QStringLiteral("transports"), QStringLiteral("usb")},
    });
    root.insert(QStringLiteral("credentials"), credentials);
    return write(root) ? id : QString();
}
