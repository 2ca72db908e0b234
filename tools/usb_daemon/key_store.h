// key_store.h: the files of a security key: its credentials file and the key files that it names.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

/// Who registers, as a relying party says it.
struct Registration
{
    QString rpId;
    QString rpName;
    QString userName;
    QString userDisplayName;
    QString description;
};

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

    /// Credentials of that relying party, as the file holds them now.
    QJsonArray credentialsOf(const QString& rpId) const;

    /// Makes a key pair and adds its credential to the file as it is now; the credential's id, empty when it failed.
    QString add(const Registration& registration) const;

private:
    QString filePath(const QString& suffix) const;
    QJsonObject read() const;
    bool write(const QJsonObject& root) const;
    QJsonObject newRoot() const;

    QStringList m_parameters;
    QString m_folder; ///< of the key files
    QString m_path;   ///< of the credentials file
    QString m_serial;
    QString m_name;
};
