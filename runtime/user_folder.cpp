#include "runtime/user_folder.h"

#include <QDir>
#include <QStandardPaths>

QString userFolder()
{
    const QString chosen = qEnvironmentVariable("PLUGBOARD_USER_DATA");
    // The generic location: one folder for all programs of ours, whatever each is called.
    const QString folder = chosen.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                                                  QStringLiteral("/Plugboard")
                                            : QDir::fromNativeSeparators(chosen);
    QDir().mkpath(folder);
    return folder;
}

QString settingsFile()
{
    return userFolder() + QStringLiteral("/settings.ini");
}
