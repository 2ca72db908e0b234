#include "runtime/last_used.h"

#include "runtime/user_folder.h"

#include <QSettings>

namespace {

QString keyOf(const QString& device)
{
    return QStringLiteral("lastUsed/") + device;
}

} // namespace

QStringList lastUsedSettings(const QString& device)
{
    return QSettings(settingsFile(), QSettings::IniFormat).value(keyOf(device)).toStringList();
}

void rememberLastUsed(const QString& device, const QStringList& assignments)
{
    QSettings(settingsFile(), QSettings::IniFormat).setValue(keyOf(device), assignments);
}
