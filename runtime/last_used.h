// last_used.h: the settings with which the user last created a device, kept in the user's settings file.
#pragma once

#include <QStringList>

/// NAME=VALUE texts as a script gives them; none when there are no settings of that device yet. They were right when
/// they were kept, yet the file may have been edited since.
QStringList lastUsedSettings(const QString& device);

void rememberLastUsed(const QString& device, const QStringList& assignments);
