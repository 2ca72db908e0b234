#include "fido2/file/json_file.h"

#include "runtime/whole_file.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

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
    return writeWholeFile(path, QJsonDocument(root).toJson(QJsonDocument::Indented)).isEmpty();
}
