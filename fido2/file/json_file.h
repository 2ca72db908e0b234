// json_file.h: reads a JSON file within bounds and writes one whole or not at all.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

struct JsonFileContent
{
    enum class State
    {
        Object,
        NotAnObject,
        NotJson,
        NotOpened
    };

    State state = State::NotOpened;
    QJsonObject root;   ///< empty unless state is Object
    QString parseError; ///< the parser's text when state is NotJson
};

/// Size in bytes above which a file counts as NotJson and is not read.
constexpr qint64 kLargestJsonFile = 64 * 1024 * 1024;

JsonFileContent readJsonFile(const QString& path);

/// A file that is read often and changes seldom: read() reads it each time, but parses it only when its bytes are
/// others than last time. One thread.
class JsonFile
{
public:
    explicit JsonFile(const QString& path) : m_path(path) {}

    const QString& path() const { return m_path; }

    /// As readJsonFile(); valid until the next call.
    const JsonFileContent& read();

    /// As writeJsonFile().
    bool write(const QJsonObject& root);

private:
    QString m_path;
    QByteArray m_bytes; ///< that m_content was made of
    JsonFileContent m_content;
};

/// What `bytes` hold, without a file; never NotOpened.
JsonFileContent parseJsonFile(const QByteArray& bytes);

/// Writes `root` indented, whole or not at all (see runtime/whole_file.h). False when nothing could be written.
bool writeJsonFile(const QString& path, const QJsonObject& root);
