#include "devices/device_record.h"

#include "devices/parameter_list.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

QStringList stringList(const QJsonValue& value)
{
    QStringList strings;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& element : array)
        strings << element.toString();
    return strings;
}

QDateTime dateTime(const QJsonValue& value)
{
    return QDateTime::fromString(value.toString(), Qt::ISODate);
}

} // namespace

DeviceRecord parseDeviceRecord(const QByteArray& json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    DeviceRecord record;
    record.deviceType = object[QLatin1String("deviceType")].toInt();
    record.deviceName = object[QLatin1String("deviceName")].toString();
    record.processId = object[QLatin1String("processId")].toString().toLongLong();
    record.usbVid = object[QLatin1String("usbVid")].toString();
    record.usbPid = object[QLatin1String("usbPid")].toString();
    record.usbVersion = object[QLatin1String("usbVersion")].toString();
    record.publicParams = stringList(object[QLatin1String("publicParams")]);
    record.privateParams = stringList(object[QLatin1String("privateParams")]);
    record.createTime = dateTime(object[QLatin1String("createTime")]);
    record.lastUpdateTime = dateTime(object[QLatin1String("lastUpdateTime")]);
    record.isRunning = object[QLatin1String("isRunning")].toBool();
    record.lab = object[QLatin1String("lab")].toString();
    record.host = object[QLatin1String("host")].toObject();
    return record;
}

QByteArray serializeDeviceRecord(const DeviceRecord& record)
{
    QJsonObject object{
        {QStringLiteral("deviceType"), record.deviceType},
        {QStringLiteral("deviceName"), record.deviceName},
        {QStringLiteral("processId"), QString::number(record.processId)},
        {QStringLiteral("usbVid"), record.usbVid},
        {QStringLiteral("usbPid"), record.usbPid},
        {QStringLiteral("usbVersion"), record.usbVersion},
        {QStringLiteral("publicParams"), QJsonArray::fromStringList(record.publicParams)},
        {QStringLiteral("privateParams"), QJsonArray::fromStringList(record.privateParams)},
        {QStringLiteral("createTime"), record.createTime.toString(Qt::ISODate)},
        {QStringLiteral("lastUpdateTime"), record.lastUpdateTime.toString(Qt::ISODate)},
        {QStringLiteral("isRunning"), record.isRunning},
    };
    if (!record.lab.isEmpty())
        object.insert(QStringLiteral("lab"), record.lab);
    if (!record.host.isEmpty())
        object.insert(QStringLiteral("host"), record.host);
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

QString deviceRecordFileName(const DeviceRecord& record)
{
    return QStringLiteral("device_") + record.deviceName + QLatin1Char('_') + QString::number(record.processId) +
           QStringLiteral(".json");
}

bool canBeFileName(const QString& name)
{
    const QString refused = QStringLiteral("<>:\"/\\|?*");
    return std::none_of(name.begin(), name.end(), [&](QChar c) { return c < QLatin1Char(' ') || refused.contains(c); });
}

QString microphoneLabel(const QStringList& publicParams)
{
    const QString version = publicParams.value(parameter::MicrophoneUacVersion, QStringLiteral("1.0"));
    const QString mode = publicParams.value(parameter::MicrophoneRealTime) == QLatin1String("1")
                             ? QStringLiteral("RT")
                             : QStringLiteral("Normal");
    return QStringLiteral("Microphone (UAC %1, %2)").arg(version, mode);
}
