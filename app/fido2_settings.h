// fido2_settings.h: the settings of a security key that a script gives as NAME=VALUE texts.
#pragma once

#include "devices/parameter_list.h"
#include "dialogs/settings/setting_rules.h"
#include "fido2/file/fido2_environment.h"

/// In the order in which they take effect.
QStringList fido2SettingNames();

/// Over the dialog's defaults, and checked like its fields. "credentials" names a file that is there: what it says of
/// its key counts unless a setting says otherwise. Without it the serial number says which file it is.
SettingsReading<Fido2Parameters> fido2SettingsFrom(const QStringList& assignments, const Fido2Environment& environment);
