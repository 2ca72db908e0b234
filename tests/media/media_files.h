// media_files.h: where the media files of the tests are, and what is in them.
#pragma once

#include <QFile>
#include <QString>

inline QString mediaFile(const char* name)
{
    return QStringLiteral(PLUGBOARD_MEDIA_FILES "/") + QString::fromLatin1(name);
}

/// Empty when the file cannot be read.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
