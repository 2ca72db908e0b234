// device_record.h: what a device process says of itself in its JSON record file.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>

struct DeviceRecord
{
    int deviceType = 0; ///< record type code, see DeviceType; any number may stand in a file
    QString deviceName;
    qint64 processId = 0; ///< a decimal string in the file
    QString usbVid;
    QString usbPid;
    QString usbVersion;
    QStringList publicParams; ///< the creation parameter list
    QStringList privateParams;
    QDateTime createTime; ///< ISO 8601 in the file
    QDateTime lastUpdateTime;
    bool isRunning = false;
    QString lab;      ///< path of the lab file that it was started by; empty for a single device
    QJsonObject host; ///< how the device reaches its host, see the device process; empty: not said
};

/// Lenient: what is missing or mistyped is 0, empty, invalid or false, and bytes that hold no JSON object give a
/// default record. Never fails.
DeviceRecord parseDeviceRecord(const QByteArray& json);

/// Indented JSON.
QByteArray serializeDeviceRecord(const DeviceRecord& record);

/// "device_NAME_PID.json"; what it would be, also when the name cannot be a file name.
QString deviceRecordFileName(const DeviceRecord& record);

/// Whether the name, of a file or a part of one, has only characters that a file name can have. The rule of Windows on
/// every system, so that the same names fail everywhere. A name without a separator leads to no other folder.
bool canBeFileName(const QString& name);

/// Last-column text of a microphone's row, "Microphone (UAC 1.0, Normal)", from elements 5 and 6 of `publicParams`.
QString microphoneLabel(const QStringList& publicParams);
