#include "fido2/file/credentials_file.h"

#include "fido2/file/log.h"
#include "fido2/file/pin.h"
#include "runtime/shown_text.h"
#include "runtime/whole_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

constexpr int kPinRetries = 8;

void addMissing(QJsonObject& object, const QString& key, const QJsonValue& value)
{
    if (!object.contains(key))
        object.insert(key, value);
}

QJsonObject mergedDeviceInfo(QJsonObject info, const KeyIdentity& form)
{
    addMissing(info, QStringLiteral("serialNumber"), form.serialNumber.trimmed());
    addMissing(info, QStringLiteral("deviceName"), form.deviceName.trimmed());
    addMissing(info, QStringLiteral("vid"), form.vid.trimmed());
    addMissing(info, QStringLiteral("pid"), form.pid.trimmed());
    addMissing(info, QStringLiteral("usbVersion"), form.usbVersion);
    addMissing(info, QStringLiteral("supportsPin"), form.supportsPin);
    return info;
}

QJsonObject mergedCaInfo(QJsonObject info, const QString& serial)
{
    if (serial.isEmpty())
        return info;
    addMissing(info, QStringLiteral("caCertificateFile"), serial + QStringLiteral("_ca_cert.pem"));
    addMissing(info, QStringLiteral("caPublicKeyFile"), serial + QStringLiteral("_ca_public.pem"));
    addMissing(info, QStringLiteral("caPrivateKeyFile"), serial + QStringLiteral("_ca_private.pem"));
    return info;
}

QJsonObject mergedPinInfo(QJsonObject info, const QString& serial)
{
    addMissing(info, QStringLiteral("pinSet"), false);
    addMissing(info, QStringLiteral("pinRetryCount"), kPinRetries);
    addMissing(info, QStringLiteral("maxPinRetries"), kPinRetries);
    if (info.value(QStringLiteral("pinSet")).toBool())
        addMissing(info, QStringLiteral("pinHash"), QString());
    if (!serial.isEmpty()) {
        addMissing(info, QStringLiteral("pinPublicKeyFile"), serial + QStringLiteral("_pin_public.pem"));
        addMissing(info, QStringLiteral("pinPrivateKeyFile"), serial + QStringLiteral("_pin_private.pem"));
    }
    return info;
}

/// In files of an older layout deviceInfo has the PIN.
QString pinHolder(const QJsonObject& root)
{
    const QString current = QStringLiteral("pinInfo");
    return root.contains(current) ? current : QStringLiteral("deviceInfo");
}

/// Of a link only the link.
void removeFile(const QString& path)
{
    if (!path.isEmpty() && QFile::remove(path))
        qCInfo(fido2Log).noquote() << "Deleted:" << path;
}

/// What a save that was interrupted leaves beside the file, and the file's lock. Six random letters end its name; where
/// they are all of one case they may be a word of the user's ("backup") and stay.
void removeLeftovers(const QString& path)
{
    const QFileInfo file(path);
    const QRegularExpression temporary(QStringLiteral("\\A%1\\.(?=[A-Z]*[a-z])(?=[a-z]*[A-Z])[A-Za-z]{6}\\z")
                                           .arg(QRegularExpression::escape(file.fileName())));
    for (const QString& name : file.dir().entryList(QDir::Files | QDir::Hidden)) {
        if (temporary.match(name).hasMatch())
            removeFile(file.dir().filePath(name));
    }
    removeFile(FileLock::lockPath(path));
}

} // namespace

JsonFileContent::State CredentialsFile::load()
{
    const JsonFileContent content = readJsonFile(m_path);
    m_parseError = content.parseError;
    if (content.state == JsonFileContent::State::Object)
        m_root = content.root;
    return content.state;
}

QJsonObject CredentialsFile::deviceInfo() const
{
    return m_root.value(QStringLiteral("deviceInfo")).toObject();
}

QJsonArray CredentialsFile::credentials() const
{
    return m_root.value(QStringLiteral("credentials")).toArray();
}

bool CredentialsFile::save(const KeyIdentity& form, const QJsonArray& credentials)
{
    return save(FileLock(m_path), form, credentials);
}

bool CredentialsFile::save(const FileLock&, const KeyIdentity& form, const QJsonArray& credentials)
{
    const QJsonObject merged = mergedCredentialsRoot(readJsonFile(m_path).root, form, credentials);
    if (!writeJsonFile(m_path, merged)) {
        qCWarning(fido2Log).noquote() << "Credentials file cannot be written:" << m_path;
        return false;
    }
    qCInfo(fido2Log).noquote() << "Credentials file written:" << m_path << "credentials:" << credentials.size();
    m_root = merged;
    return true;
}

CredentialsFile::PinResult CredentialsFile::setPin(const QString& pin, const QString& serialNumber)
{
    const FileLock lock(m_path);
    const JsonFileContent content = readJsonFile(m_path);
    if (content.state == JsonFileContent::State::NotOpened)
        return PinResult::NotOpened;
    if (content.state != JsonFileContent::State::Object)
        return PinResult::BadFormat;
    const QJsonObject changed = rootWithPin(content.root, pin, serialNumber);
    if (!writeJsonFile(m_path, changed))
        return PinResult::NotWritten;
    qCInfo(fido2Log).noquote() << "PIN set in" << m_path;
    m_root = changed;
    return PinResult::Set;
}

void CredentialsFile::clear(const QString& directory, const QString& serialNumber, const QJsonArray& credentials) const
{
    qCInfo(fido2Log).noquote() << "Device cleared with its files:" << m_path;
    removeFile(m_path);
    removeLeftovers(m_path);
    const QString prefix = directory + QLatin1Char('/') + serialNumber;
    for (const char* suffix :
         {"_ca_cert.pem", "_ca_public.pem", "_ca_private.pem", "_pin_public.pem", "_pin_private.pem"})
        removeFile(prefix + QLatin1String(suffix));
    for (const QJsonValue& element : credentials) {
        const QJsonObject credential = element.toObject();
        removeFile(credential.value(QStringLiteral("privateKeyFile")).toString());
        removeFile(credential.value(QStringLiteral("publicKeyFile")).toString());
    }
}

QJsonObject mergedCredentialsRoot(const QJsonObject& old, const KeyIdentity& form, const QJsonArray& credentials)
{
    const QString serial = form.serialNumber.trimmed();
    QJsonObject root;
    root.insert(QStringLiteral("deviceInfo"),
                mergedDeviceInfo(old.value(QStringLiteral("deviceInfo")).toObject(), form));
    root.insert(QStringLiteral("caInfo"), mergedCaInfo(old.value(QStringLiteral("caInfo")).toObject(), serial));
    root.insert(QStringLiteral("pinInfo"), mergedPinInfo(old.value(QStringLiteral("pinInfo")).toObject(), serial));
    root.insert(QStringLiteral("credentials"), credentials);
    return root;
}

QJsonObject rootWithPin(QJsonObject root, const QString& pin, const QString& serialNumber)
{
    QJsonObject info = root.value(QStringLiteral("pinInfo")).toObject();
    info.insert(QStringLiteral("pinSet"), true);
    info.insert(QStringLiteral("pinHash"), pinHash(pin));
    info.insert(QStringLiteral("pinRetryCount"), kPinRetries);
    info.insert(QStringLiteral("maxPinRetries"), kPinRetries);
    info.insert(QStringLiteral("pinPublicKeyFile"), serialNumber + QStringLiteral("_pin_public.pem"));
    info.insert(QStringLiteral("pinPrivateKeyFile"), serialNumber + QStringLiteral("_pin_private.pem"));
    root.insert(QStringLiteral("pinInfo"), info);
    return root;
}

CredentialsFileSummary summarizeCredentials(const QJsonObject& root)
{
    CredentialsFileSummary summary;
    const QJsonObject device = root.value(QStringLiteral("deviceInfo")).toObject();
    if (const QJsonValue serial = device.value(QStringLiteral("serialNumber")); serial.isString())
        summary.serialNumber = serial.toString();
    if (const QJsonValue holder = root.value(pinHolder(root)); holder.isObject()) {
        const QJsonObject pin = holder.toObject();
        summary.hasPin = !pin.value(QStringLiteral("pinHash")).toString().isEmpty();
        if (const QJsonValue retries = pin.value(QStringLiteral("maxPinRetries")); retries.isDouble())
            summary.maxPinRetries = numberText(retries);
    }
    summary.credentialCount = root.value(QStringLiteral("credentials")).toArray().size();
    return summary;
}

PinState pinState(const QJsonObject& root)
{
    const QJsonObject info = root.value(pinHolder(root)).toObject();
    PinState state;
    const bool hasHash = !info.value(QStringLiteral("pinHash")).toString().isEmpty();
    state.isSet = info.value(QStringLiteral("pinSet")).toBool(hasHash);
    state.mostAttempts = info.value(QStringLiteral("maxPinRetries")).toInt(kPinRetries);
    state.attemptsLeft = info.value(QStringLiteral("pinRetryCount")).toInt(state.mostAttempts);
    return state;
}
