// parameter_list_parser.h: reads creation parameter lists, strictly.
#pragma once

#include "emulation/message/device_description.h"
#include "emulation/message/outcome.h"

/// The device of a parameter list. Every field is checked, and the first wrong one is named with what was expected in
/// its place. Device code "3" is a USB/IP device when the list has 8 fields and a microphone when it has 12.
Outcome<DeviceDescription> parseParameterList(const QStringList& fields);
