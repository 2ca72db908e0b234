// device_config_rows.h: the rows of the configuration viewer.
#pragma once

#include "capture/decode/detail_row.h"

#include <QJsonObject>

/// The rows for a device's configuration, as DeviceConfigDialog describes them, beneath a top row without text.
/// Descriptor texts: not translated. Of configurations with thousands of array elements, the rest is only counted.
DetailRow deviceConfigRows(const QJsonObject& config);
