// device_json.h: what scripts are told of a device.
#pragma once

#include "devices/device_record_manager.h"

#include <QJsonObject>

/// One object as --list --json and --start print it. The type of the record is known. "nodes" is there once the
/// device is on this machine's buses.
QJsonObject deviceJson(const DeviceRecordManager::RestoredDevice& device);

/// The object on one line with its line end, for a terminal too.
QString jsonLine(const QJsonObject& object);

/// The nodes of a device that this machine has on its virtual controller; none otherwise.
QStringList nodesOf(const DeviceRecord& record);
