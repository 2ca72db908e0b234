// parameter_list_parser.h: reads creation parameter lists, strictly.
#pragma once

#include "tools/usb_daemon/device_description.h"
#include "tools/usb_daemon/outcome.h"

/// The fields of a parameter text, which are separated by single line feeds; empty fields count.
QStringList splitParameterText(const QString& text);

/// The device of a parameter list. Every field is checked, and the first wrong one is named with what was expected in
/// its place. Device code "3" is a USB/IP device when the list has 8 fields and a microphone when it has 12.
Outcome<DeviceDescription> parseParameterList(const QStringList& fields);
