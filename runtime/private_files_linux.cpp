#include "runtime/private_files.h"

#include <QFile>

#include <sys/stat.h>

void keepNewFilesPrivate()
{
    ::umask(S_IRWXG | S_IRWXO);
}

bool restrictToOwner(const QString& path)
{
    return QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}
