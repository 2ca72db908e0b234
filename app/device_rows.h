// device_rows.h: the texts that a device's row shows.
#pragma once

#include "devices/device_record_manager.h"

#include <QStringList>

/// Row of a device that was just launched, made from its joined parameter list. Seven texts; the table drops the last.
QStringList launchedDeviceRow(const QString& typeWord, const QString& joinedParameters, qint64 processId);

/// Row of the mouse, which has no parameter list.
QStringList mouseRow(qint64 processId);

/// Row of a device found by its record, whose type code is known. Seven texts; the table drops the last, the status.
QStringList restoredDeviceRow(const DeviceRecordManager::RestoredDevice& device);

/// Path of its icon among the resources; empty for a type without one.
QString restoredDeviceIconPath(const DeviceRecordManager::RestoredDevice& device);

/// "Microphone (UAC 1.0, Normal)", "Camera", ...; empty for an unknown type code.
QString restoredDeviceLabel(const DeviceRecord& record);

/// How the window shows a text of the type column: a type's word or label in the window's language, any other text as
/// it stands.
QString deviceTypeCaption(const QString& typeCell);
