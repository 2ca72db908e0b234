// user_folder.h: where this user's settings, logs and crash notes lie.
#pragma once

#include <QString>

/// The folder $PLUGBOARD_USER_DATA when that is set (tests, portable installations), else "Plugboard" in the system's
/// folder for local data: %LOCALAPPDATA% on Windows, ~/.local/share on Linux. Made when it is missing; when it cannot
/// be made, whoever writes there fails and goes on without. Devices' records never lie here.
QString userFolder();

/// Path of the user's settings there, in QSettings' INI format.
QString settingsFile();
