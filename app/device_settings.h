// device_settings.h: the parameter lists of devices that are created without a dialog.
#pragma once

#include "devices/device_type.h"

#include <QStringList>

/// The list of a type that has no settings; empty for the others, and for the mouse, which has no list.
QStringList fixedParameters(DeviceType type);

/// A parameter list, or the sentence that says why there is none.
struct ScriptedParameters
{
    QStringList list; ///< empty for a mouse
    QString error;    ///< empty when there is a list
};

/// The list of a device whose settings a script gives as NAME=VALUE texts. They are checked like the fields of the
/// device's dialog. Relative files count from the current folder. May read standard input, see withSecretValues().
ScriptedParameters scriptedParameters(DeviceType type, const QStringList& given);

/// The settings that scriptedParameters() knows, for the help text.
QString settingsHelp();
