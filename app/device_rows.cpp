#include "app/device_rows.h"

#include "devices/device_type.h"
#include "devices/parameter_list.h"

#include <QCoreApplication>

QStringList launchedDeviceRow(const QString& typeWord, const QString& joinedParameters, qint64 processId)
{
    const QStringList fields = splitParameters(joinedParameters);
    return {fields.value(parameter::Name),
            QString::number(processId),
            QLatin1String("0x") + fields.value(parameter::Vid),
            QLatin1String("0x") + fields.value(parameter::Pid),
            fields.value(parameter::UsbVersion),
            typeWord,
            QStringLiteral("Running")};
}

QStringList mouseRow(qint64 processId)
{
    return {QStringLiteral("mouse"),
            QString::number(processId),
            QStringLiteral("Relative"),
            QString(),
            QString(),
            QString()};
}

QString restoredDeviceLabel(const DeviceRecord& record)
{
    const auto type = deviceTypeFromRecordCode(record.deviceType);
    if (!type)
        return {};
    return *type == DeviceType::Microphone ? microphoneLabel(record.publicParams) : deviceTypeLabel(*type);
}

QStringList restoredDeviceRow(const DeviceRecordManager::RestoredDevice& device)
{
    const DeviceRecord& record = device.record;
    return {record.deviceName,
            QString::number(record.processId),
            record.usbVid,
            record.usbPid,
            record.usbVersion,
            restoredDeviceLabel(record),
            device.running ? QStringLiteral("Running") : QStringLiteral("Stopped")};
}

QString restoredDeviceIconPath(const DeviceRecordManager::RestoredDevice& device)
{
    const auto type = deviceTypeFromRecordCode(device.record.deviceType);
    return type ? deviceTypeIconPath(*type) : QString();
}

QString deviceTypeCaption(const QString& typeCell)
{
    // A microphone's label goes on in brackets.
    const QString word = typeCell.left(typeCell.indexOf(QLatin1String(" (")));
    QString rest = typeCell.mid(word.size());
    rest.replace(QStringLiteral(", Normal)"), QCoreApplication::translate("DeviceType", ", Normal)"));
    return QCoreApplication::translate("DeviceType", word.toUtf8().constData()) + rest;
}
