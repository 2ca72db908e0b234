#include "emulation/securitykey/key_store.h"

#include "devices/parameter_list.h"
#include "emulation/securitykey/key_material.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/log.h"
#include "runtime/whole_file.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

namespace ctap {

namespace {

const QString kCredentials = QStringLiteral("credentials");
const QString kPinInfo = QStringLiteral("pinInfo");
constexpr int kPinRetries = 8;

QByteArray idOf(const QJsonObject& credential)
{
    return QByteArray::fromHex(credential.value(QLatin1String("id")).toString().trimmed().toLatin1());
}

bool isReplacedBy(const QJsonObject& old, const Credential& added)
{
    const auto credential = credentialOf(old);
    return added.isDiscoverable && credential && credential->isDiscoverable && credential->rpIdHash == added.rpIdHash &&
           credential->userId == added.userId;
}

/// In files of an older layout deviceInfo has the PIN.
PinRecord pinOf(const QJsonObject& root)
{
    const QJsonObject info = root.value(root.contains(kPinInfo) ? kPinInfo : QStringLiteral("deviceInfo")).toObject();
    PinRecord pin;
    pin.hash = QByteArray::fromHex(info.value(QLatin1String("pinHash")).toString().toLatin1());
    pin.isSet = info.value(QLatin1String("pinSet")).toBool(!pin.hash.isEmpty());
    pin.mostRetries = info.value(QLatin1String("maxPinRetries")).toInt(kPinRetries);
    pin.retries = info.value(QLatin1String("pinRetryCount")).toInt(pin.mostRetries);
    return pin;
}

QJsonObject withPin(QJsonObject info, const PinRecord& pin)
{
    info.insert(QStringLiteral("pinSet"), pin.isSet);
    if (pin.isSet)
        info.insert(QStringLiteral("pinHash"), QString::fromLatin1(pin.hash.toHex()));
    else
        info.remove(QStringLiteral("pinHash"));
    info.insert(QStringLiteral("pinRetryCount"), pin.retries);
    info.insert(QStringLiteral("maxPinRetries"), pin.mostRetries);
    return info;
}

} // namespace

KeyStore::KeyStore(const QStringList& parameters, const QString& folder)
    : m_parameters(parameters)
    , m_folder(folder + QStringLiteral("/fido2"))
    , m_serial(parameters.value(parameter::KeySerialNumber).trimmed())
    , m_name(parameters.value(parameter::Name))
    , m_supportsPin(parameters.value(parameter::KeySupportsPin) == QStringLiteral("1"))
    , m_file(parameters.value(parameter::KeyCredentialsPath).isEmpty()
                 ? filePath(QStringLiteral("_credentials.json"))
                 : parameters.value(parameter::KeyCredentialsPath))
{}

QString KeyStore::filePath(const QString& suffix) const
{
    return m_folder + QLatin1Char('/') + m_serial + suffix;
}

/// Files that the credentials file names lie beside it unless it says where.
QString KeyStore::located(const QString& name) const
{
    return QFileInfo(m_file.path()).absoluteDir().filePath(name);
}

QString KeyStore::caFile(const char* member, const char* suffix) const
{
    const QJsonObject info = m_file.read().root.value(QLatin1String("caInfo")).toObject();
    const QString name = info.value(QLatin1String(member)).toString();
    return name.isEmpty() ? filePath(QLatin1String(suffix)) : QDir(m_folder).filePath(name);
}

QString KeyStore::prepare() const
{
    QDir().mkpath(m_folder);
    if (!QFileInfo::exists(m_file.path())) {
        const FileLock lock(m_file.path());
        if (!QFileInfo::exists(m_file.path()) && !m_file.write(newRoot()))
            return QStringLiteral("The credentials file \"%1\" cannot be written.").arg(m_file.path());
    }
    if (!QFileInfo::exists(filePath(QStringLiteral("_pin_private.pem"))) &&
        !writeKeyPair(makeKey(Algorithm::Es256), filePath(QStringLiteral("_pin_private.pem")),
                      filePath(QStringLiteral("_pin_public.pem"))))
        return QStringLiteral("The PIN keys of \"%1\" cannot be made in \"%2\".").arg(m_serial, m_folder);
    return prepareAuthority();
}

QString KeyStore::prepareAuthority() const
{
    const QString certificateFile = caFile("caCertificateFile", "_ca_cert.pem");
    const QString privateFile = caFile("caPrivateKeyFile", "_ca_private.pem");
    if (!QFileInfo::exists(certificateFile) || !QFileInfo::exists(privateFile)) {
        const openssl::Key key = makeKey(Algorithm::Es256);
        if (!writeKeyPair(key, privateFile, caFile("caPublicKeyFile", "_ca_public.pem")) ||
            !writeCertificate(makeAuthority(key, m_serial), certificateFile))
            return QStringLiteral("The certificate of \"%1\" cannot be made in \"%2\".").arg(m_serial, m_folder);
    }
    const Authority made = authority();
    if (!made.certificate || !made.key || X509_check_private_key(made.certificate.get(), made.key.get()) != 1)
        return QStringLiteral("The certificate \"%1\" and its private key do not belong together.")
            .arg(certificateFile);
    return {};
}

Authority KeyStore::authority() const
{
    return {certificateOf(readPem(caFile("caCertificateFile", "_ca_cert.pem"))),
            privateKeyOf(readPem(caFile("caPrivateKeyFile", "_ca_private.pem")))};
}

QJsonObject KeyStore::newRoot() const
{
    const bool usb3 = m_parameters.value(parameter::UsbVersion) != QStringLiteral("0");
    return {
        {QStringLiteral("deviceInfo"),
         QJsonObject{{QStringLiteral("serialNumber"), m_serial},
                     {QStringLiteral("deviceName"), m_name},
                     {QStringLiteral("vid"), m_parameters.value(parameter::Vid)},
                     {QStringLiteral("pid"), m_parameters.value(parameter::Pid)},
                     {QStringLiteral("usbVersion"), usb3 ? QStringLiteral("3.0") : QStringLiteral("2.0")},
                     {QStringLiteral("supportsPin"), m_supportsPin}}},
        {QStringLiteral("caInfo"),
         QJsonObject{{QStringLiteral("caCertificateFile"), m_serial + QStringLiteral("_ca_cert.pem")},
                     {QStringLiteral("caPublicKeyFile"), m_serial + QStringLiteral("_ca_public.pem")},
                     {QStringLiteral("caPrivateKeyFile"), m_serial + QStringLiteral("_ca_private.pem")}}},
        {kPinInfo, QJsonObject{{QStringLiteral("pinSet"), false},
                               {QStringLiteral("pinRetryCount"), kPinRetries},
                               {QStringLiteral("maxPinRetries"), kPinRetries},
                               {QStringLiteral("pinPublicKeyFile"), m_serial + QStringLiteral("_pin_public.pem")},
                               {QStringLiteral("pinPrivateKeyFile"), m_serial + QStringLiteral("_pin_private.pem")}}},
        {kCredentials, QJsonArray()},
    };
}

bool KeyStore::changeFile(const std::function<bool(QJsonObject& root)>& change) const
{
    const FileLock lock(m_file.path());
    const JsonFileContent& content = m_file.read();
    // A folder that takes no lock file gives none; another holder that never ends is a fault.
    if (!lock.isHeld() && QFileInfo::exists(FileLock::lockPath(m_file.path())))
        return false;
    // A file that does not parse may be mended by its owner; it is not written over.
    QJsonObject root = content.root;
    if (content.state != JsonFileContent::State::Object || !change(root))
        return false;
    const bool written = m_file.write(root);
    if (!written)
        qCWarning(securityKeyLog).noquote() << "Credentials file cannot be written:" << m_file.path();
    return written;
}

bool KeyStore::changeCredential(const QByteArray& id, const std::function<void(QJsonObject&)>& change) const
{
    return changeFile([&](QJsonObject& root) {
        QJsonArray credentials = root.value(kCredentials).toArray();
        for (QJsonValueRef element : credentials) {
            QJsonObject credential = element.toObject();
            if (idOf(credential) != id)
                continue;
            change(credential);
            element = credential;
            root.insert(kCredentials, credentials);
            return true;
        }
        return false;
    });
}

std::vector<Credential> KeyStore::credentials() const
{
    std::vector<Credential> found;
    for (const QJsonValue& element : m_file.read().root.value(kCredentials).toArray()) {
        if (auto credential = credentialOf(element.toObject()))
            found.push_back(std::move(*credential));
    }
    return found;
}

openssl::Key KeyStore::privateKey(const Credential& credential) const
{
    constexpr std::size_t kMostParsed = 64;
    const QByteArray pem =
        credential.privateKeyFile.isEmpty() ? QByteArray() : readPem(located(credential.privateKeyFile));
    auto parsed = m_parsedKeys.find(pem);
    if (parsed == m_parsedKeys.end()) {
        if (m_parsedKeys.size() >= kMostParsed)
            m_parsedKeys.clear();
        parsed = m_parsedKeys.emplace(pem, privateKeyOf(pem)).first;
    }
    if (parsed->second)
        EVP_PKEY_up_ref(parsed->second.get());
    return openssl::Key(parsed->second.get());
}

bool KeyStore::add(Credential credential, const openssl::Key& key) const
{
    const QString stem = QStringLiteral("%1/cred_%2").arg(m_folder, QString::fromLatin1(credential.id.left(8).toHex()));
    credential.privateKeyFile = stem + QStringLiteral("_private.pem");
    credential.publicKeyFile = stem + QStringLiteral("_public.pem");
    credential.createdAt = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    if (!writeKeyPair(key, credential.privateKeyFile, credential.publicKeyFile))
        return false;
    std::vector<QJsonObject> replaced; // their keys go last: a killed process leaves nothing without its key
    const bool added = changeFile([&](QJsonObject& root) {
        QJsonArray kept;
        for (const QJsonValue& old : root.value(kCredentials).toArray()) {
            if (isReplacedBy(old.toObject(), credential))
                replaced.push_back(old.toObject());
            else
                kept.append(old);
        }
        kept.append(toJson(credential));
        root.insert(kCredentials, kept);
        return true;
    });
    if (!added)
        removeKeyFiles(toJson(credential));
    for (const QJsonObject& old : replaced) {
        if (added)
            removeKeyFiles(old);
    }
    return added;
}

std::optional<std::uint32_t> KeyStore::countSignature(const QByteArray& id) const
{
    std::uint32_t count = 0;
    const bool counted = changeCredential(id, [&count](QJsonObject& object) {
        const auto credential = credentialOf(object);
        count = credential ? credential->signatureCount + 1 : 1;
        object.insert(QStringLiteral("sigCnt"), double(count));
    });
    return counted ? std::optional(count) : std::nullopt;
}

bool KeyStore::updateUser(const Credential& credential) const
{
    return changeCredential(credential.id, [&credential](QJsonObject& object) {
        QJsonObject user = object.value(QLatin1String("user")).toObject();
        user.insert(QStringLiteral("name"), credential.userName);
        user.insert(QStringLiteral("displayName"), credential.userDisplayName);
        object.insert(QStringLiteral("user"), user);
    });
}

bool KeyStore::remove(const QByteArray& id) const
{
    QJsonObject removed;
    const bool done = changeFile([&](QJsonObject& root) {
        QJsonArray credentials = root.value(kCredentials).toArray();
        for (int i = 0; i < credentials.size(); ++i) {
            if (idOf(credentials.at(i).toObject()) != id)
                continue;
            removed = credentials.takeAt(i).toObject();
            root.insert(kCredentials, credentials);
            return true;
        }
        return false;
    });
    if (done)
        removeKeyFiles(removed);
    return done;
}

PinRecord KeyStore::pin() const
{
    return pinOf(m_file.read().root);
}

bool KeyStore::changePin(const std::function<void(PinRecord&)>& change) const
{
    return changeFile([&](QJsonObject& root) {
        PinRecord pin = pinOf(root);
        change(pin);
        root.insert(kPinInfo, withPin(root.value(kPinInfo).toObject(), pin));
        return true;
    });
}

bool KeyStore::reset() const
{
    QJsonArray removed;
    const bool done = changeFile([&](QJsonObject& root) {
        removed = root.value(kCredentials).toArray();
        root.insert(kCredentials, QJsonArray());
        root.insert(kPinInfo, withPin(root.value(kPinInfo).toObject(), PinRecord()));
        return true;
    });
    if (done) {
        for (const QJsonValue& credential : removed)
            removeKeyFiles(credential.toObject());
    }
    return done;
}

void KeyStore::removeKeyFiles(const QJsonObject& credential) const
{
    for (const char* member : {"privateKeyFile", "publicKeyFile"}) {
        const QString path = credential.value(QLatin1String(member)).toString();
        const QFileInfo file(path);
        if (file.fileName().startsWith(QLatin1String("cred_")) && file.absoluteDir() == QDir(m_folder))
            QFile::remove(path);
    }
}

} // namespace ctap
