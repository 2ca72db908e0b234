#include "media/control/socket_place.h"

#include <QDir>

#include <filesystem>

bool isPlaceFree(const QString& serverName)
{
    namespace files = std::filesystem;
    std::error_code ignored;
    const QString path = QDir(QDir::tempPath()).filePath(serverName);
    const files::file_status found = files::symlink_status(path.toStdU16String(), ignored);
    return !files::exists(found) || files::is_socket(found);
}
