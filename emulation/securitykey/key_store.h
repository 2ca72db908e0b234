// key_store.h: the files of a security key: its credentials file and the key files that it names.
#pragma once

#include "devices/openssl_handles.h"
#include "emulation/securitykey/credential.h"
#include "fido2/file/json_file.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <vector>

namespace ctap {

/// The PIN as the file keeps it.
struct PinRecord
{
    bool isSet = false;
    QByteArray hash; ///< first 16 bytes of the PIN's SHA-256; empty when the file has lost it: no PIN is right then
    int retries = 8; ///< left
    int mostRetries = 8;
};

/// The authority that signs the certificates of this key.
struct Authority
{
    openssl::Certificate certificate;
    openssl::Key key;
};

/// Holds no credentials of its own: the program writes the file too, so each call reads it anew, and each change is
/// made under the file's lock to what it holds at that moment. What a change reports as done is on the disk.
class KeyStore
{
public:
    /// `parameters` is a security key's parameter list, `folder` that of the program.
    KeyStore(const QStringList& parameters, const QString& folder);

    /// Makes what is missing: the credentials file, the CA, the PIN's keys. Empty, or the sentence that says what
    /// failed.
    QString prepare() const;

    QString serialNumber() const { return m_serial; }
    QString deviceName() const { return m_name; }
    bool supportsPin() const { return m_supportsPin; }

    /// Null members when the files cannot be read.
    Authority authority() const;

    /// Those that can be used, in the order in which they were added.
    std::vector<Credential> credentials() const;

    /// Null when its file cannot be read or holds no private key.
    openssl::Key privateKey(const Credential& credential) const;

    /// Adds the credential with its key, in place of a discoverable one of the same relying party and user when it is
    /// discoverable itself. Names the key files and sets the time. False when something could not be written.
    bool add(Credential credential, const openssl::Key& key) const;

    /// Counts one more use; the new count, nothing when it could not be written.
    std::optional<std::uint32_t> countSignature(const QByteArray& id) const;

    /// Takes the user's names from `credential`, which its id finds.
    bool updateUser(const Credential& credential) const;

    /// Its key files go too if this process made them.
    bool remove(const QByteArray& id) const;

    PinRecord pin() const;
    bool changePin(const std::function<void(PinRecord&)>& change) const;

    /// Without credentials and PIN, as new. Key files that this process made go too.
    bool reset() const;

private:
    QString filePath(const QString& suffix) const;
    QString caFile(const char* member, const char* suffix) const;
    QString located(const QString& name) const;
    QString prepareAuthority() const;
    QJsonObject newRoot() const;
    /// `change` says whether there is something to write.
    bool changeFile(const std::function<bool(QJsonObject& root)>& change) const;
    /// Does the same to the one object of `credentials` with that id.
    bool changeCredential(const QByteArray& id, const std::function<void(QJsonObject&)>& change) const;
    void removeKeyFiles(const QJsonObject& credential) const;

    QStringList m_parameters;
    QString m_folder; ///< of the key files
    QString m_serial;
    QString m_name;
    bool m_supportsPin;
    mutable JsonFile m_file; ///< the credentials file
    /// By the text of their files, which is read each time: the library takes longer to parse one than to sign with it.
    mutable std::map<QByteArray, openssl::Key> m_parsedKeys;
};

} // namespace ctap
