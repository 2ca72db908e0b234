#include "fido2/json_file.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

namespace {

constexpr QFileDevice::Permissions kOwnerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

enum class Outcome
{
    Written,
    Failed,
    Refused
};

/// Refused: the folder takes no new file, or not in place of the old one. Failed: the bytes could not be stored.
Outcome replaceFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Outcome::Refused;
    file.setPermissions(kOwnerOnly);
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        file.cancelWriting();
        return Outcome::Failed;
    }
    if (file.commit())
        return Outcome::Written;
    return file.error() == QFileDevice::WriteError ? Outcome::Failed : Outcome::Refused;
}

/// The old bytes are put back when the new ones do not fit.
bool overwriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return false;
    const QByteArray old = file.readAll();
    file.setPermissions(kOwnerOnly);
    if (file.seek(0) && file.write(bytes) == bytes.size())
        return file.resize(bytes.size());
    if (file.seek(0) && file.write(old) == old.size())
        file.resize(old.size());
    return false;
}

} // namespace

JsonFileContent parseJsonFile(const QByteArray& bytes)
{
    JsonFileContent content;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        content.state = JsonFileContent::State::NotJson;
        content.parseError = error.errorString();
    } else if (document.isObject()) {
        content.state = JsonFileContent::State::Object;
        content.root = document.object();
    } else {
        content.state = JsonFileContent::State::NotAnObject;
    }
    return content;
}

JsonFileContent readJsonFile(const QString& path)
{
    // A pipe or a device under that name would never end.
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.read(kLargestJsonFile + 1);
    if (bytes.size() > kLargestJsonFile) {
        QJsonParseError tooLarge;
        tooLarge.error = QJsonParseError::DocumentTooLarge;
        return {JsonFileContent::State::NotJson, {}, tooLarge.errorString()};
    }
    return parseJsonFile(bytes);
}

bool writeJsonFile(const QString& path, const QJsonObject& root)
{
    const QByteArray bytes = QJsonDocument(root).toJson(QJsonDocument::Indented);
    switch (replaceFile(path, bytes)) {
    case Outcome::Written:
        return true;
    case Outcome::Failed:
        return false;
    case Outcome::Refused:
        return overwriteFile(path, bytes);
    }
    return false;
}
