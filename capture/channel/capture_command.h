// capture_command.h: what the client sends to a device process.
#pragma once

#include <QJsonObject>
#include <QString>

/// The bytes of a command. Known names ("start_capture", "stop_capture", "clear_capture", "get_stats", "get_packets",
/// "get_device_config") become a frame whose payload is {"timestamp", "data"} as compact JSON; any other name becomes
/// one line of compact JSON {"command", "timestamp", "data"} without a frame. `timestamp`: milliseconds since the
/// epoch.
QByteArray captureCommandBytes(const QString& name, const QJsonObject& data, qint64 timestamp);
