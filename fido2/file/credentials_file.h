// credentials_file.h: the JSON file of one security key: its identity, the names of its key files, its PIN state and
// its credentials. The device process works on the same file.
#pragma once

#include "fido2/file/json_file.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

class FileLock;

/// What the settings form says of a key.
struct KeyIdentity
{
    QString serialNumber;
    QString deviceName;
    QString vid;        ///< with "0x"
    QString pid;        ///< with "0x"
    QString usbVersion; ///< "2.0" or "3.0"
    bool supportsPin = true;
};

/// What the file chooser says of a file. Nothing stands for what cannot be found.
struct CredentialsFileSummary
{
    std::optional<QString> serialNumber;
    std::optional<bool> hasPin;
    std::optional<QString> maxPinRetries;
    int credentialCount = 0;
};

/// What a file says of its key's PIN.
struct PinState
{
    bool isSet = false;
    int attemptsLeft = 8;
    int mostAttempts = 8;
};

/// One file by its path; nothing is kept of its content but what load() last read. GUI thread or any other, one at a
/// time. No widgets, no boxes: callers turn the results into messages.
class CredentialsFile
{
public:
    explicit CredentialsFile(QString path) : m_path(std::move(path)) {}

    QString path() const { return m_path; }

    /// Reads the file. On any state but Object the root that was read before stays.
    JsonFileContent::State load();

    /// The parser's text after load() returned NotJson.
    QString parseError() const { return m_parseError; }

    QJsonObject root() const { return m_root; }
    QJsonObject deviceInfo() const;
    QJsonArray credentials() const;

    /// Merges the form and `credentials` into what the file holds now (see mergedCredentialsRoot) and writes it. False
    /// when it could not be written. Creates no folder. A caller whose credentials must not replace newer ones has
    /// taken the file's lock, pulled those in under it, and hands it over: a second one of the same process would wait
    /// for the first.
    bool save(const FileLock& held, const KeyIdentity& form, const QJsonArray& credentials);

    /// The same under a lock of its own.
    bool save(const KeyIdentity& form, const QJsonArray& credentials);

    enum class PinResult
    {
        Set,
        NotOpened,
        BadFormat,
        NotWritten
    };

    /// Under the file's lock, reads the file again, sets the PIN in it with 8 retries left of 8, and writes it; every
    /// other member stays.
    PinResult setPin(const QString& pin, const QString& serialNumber);

    /// Deletes the file, what interrupted saves left beside it, the key files that are named from the serial number in
    /// `directory`, and every key file that `credentials` name, wherever it lies. What is not there is no error;
    /// folders are never deleted.
    void clear(const QString& directory, const QString& serialNumber, const QJsonArray& credentials) const;

private:
    QString m_path;
    QJsonObject m_root;
    QString m_parseError;
};

/// The root that a save writes: deviceInfo, caInfo and pinInfo of `old` with only their missing members filled in, and
/// `credentials`; everything else in `old` is dropped. A value that is there is never overwritten.
QJsonObject mergedCredentialsRoot(const QJsonObject& old, const KeyIdentity& form, const QJsonArray& credentials);

/// pinInfo of `root` with the PIN set.
QJsonObject rootWithPin(QJsonObject root, const QString& pin, const QString& serialNumber);

/// Takes the PIN state from deviceInfo when there is no pinInfo, as in files of an older layout.
CredentialsFileSummary summarizeCredentials(const QJsonObject& root);

/// From where summarizeCredentials() takes it. A file that does not say whether there is a PIN has one with its hash.
PinState pinState(const QJsonObject& root);
