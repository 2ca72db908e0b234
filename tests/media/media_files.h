// media_files.h: where the media files of the tests are.
#pragma once

#include <QString>

inline QString mediaFile(const char* name)
{
    return QStringLiteral(PLUGBOARD_MEDIA_FILES "/") + QString::fromLatin1(name);
}
