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

/// What `bytes` hold, without a file; never NotOpened.
JsonFileContent parseJsonFile(const QByteArray& bytes);

/// Writes `root` indented, through a new file that then replaces the old one: an interruption or a full disk leaves the
/// old file as it was. The file is readable and writable by its owner only. Only where the folder refuses the new file
/// or the replacement (another process holds the old one open, say) is the old file overwritten in place. False when
/// nothing could be written.
bool writeJsonFile(const QString& path, const QJsonObject& root);
