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
    return JsonFile(path).read();
}

const JsonFileContent& JsonFile::read()
{
    // A pipe or a device under that name would never end.
    QFile file(m_path);
    if (!QFileInfo(m_path).isFile() || !file.open(QIODevice::ReadOnly)) {
        m_content = {};
        return m_content;
    }
    QByteArray bytes = file.read(kLargestJsonFile + 1);
    if (m_content.state != JsonFileContent::State::NotOpened && bytes == m_bytes)
        return m_content;
    if (bytes.size() > kLargestJsonFile) {
        QJsonParseError tooLarge;
        tooLarge.error = QJsonParseError::DocumentTooLarge;
        m_content = {JsonFileContent::State::NotJson, {}, tooLarge.errorString()};
        bytes.clear();
    } else {
        m_content = parseJsonFile(bytes);
    }
    m_bytes = bytes;
    return m_content;
}

bool JsonFile::write(const QJsonObject& root)
{
    const QByteArray bytes = QJsonDocument(root).toJson(QJsonDocument::Indented);
    if (!writeWholeFile(m_path, bytes).isEmpty())
        return false;
    m_bytes = bytes;
    m_content = {JsonFileContent::State::Object, root, {}};
    return true;
}

bool writeJsonFile(const QString& path, const QJsonObject& root)
{
    return JsonFile(path).write(root);
}
