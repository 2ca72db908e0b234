#include "app/device_json.h"

#include "app/device_rows.h"
#include "devices/device_type.h"
#include "devices/host_nodes.h"
#include "runtime/shown_text.h"

#include <QJsonArray>
#include <QJsonDocument>

QStringList nodesOf(const DeviceRecord& record)
{
    // A server's bus id is no place in this machine's tree.
    const bool isHere = record.host[QStringLiteral("way")].toString() == QLatin1String("kernel");
    return isHere ? hostNodes(record.host[QStringLiteral("busId")].toString()) : QStringList();
}

QString jsonLine(const QJsonObject& object)
{
    // Texts in JSON have their own line ends escaped.
    QStringList lines = escapedJson(QJsonDocument(object)).split(QLatin1Char('\n'));
    for (QString& line : lines)
        line = line.trimmed();
    return lines.join(QLatin1Char(' ')).trimmed() + QLatin1Char('\n');
}

QJsonObject deviceJson(const DeviceRecordManager::RestoredDevice& device)
{
    const DeviceRecord& record = device.record;
    QJsonObject json{{QStringLiteral("name"), record.deviceName},
                     {QStringLiteral("processId"), record.processId},
                     {QStringLiteral("type"), deviceTypeWord(*deviceTypeFromRecordCode(record.deviceType))},
                     {QStringLiteral("label"), restoredDeviceLabel(record)},
                     {QStringLiteral("usbVid"), record.usbVid},
                     {QStringLiteral("usbPid"), record.usbPid},
                     {QStringLiteral("usbVersion"), record.usbVersion},
                     {QStringLiteral("running"), device.running},
                     {QStringLiteral("host"), record.host}};
    if (!record.lab.isEmpty())
        json.insert(QStringLiteral("lab"), record.lab);
    const QStringList nodes = nodesOf(record);
    if (!nodes.isEmpty())
        json.insert(QStringLiteral("nodes"), QJsonArray::fromStringList(nodes));
    return json;
}
