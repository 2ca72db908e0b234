#include "app/device_json.h"

#include "app/device_rows.h"
#include "devices/device_type.h"
#include "devices/host_nodes.h"

#include <QJsonArray>

QStringList nodesOf(const DeviceRecord& record)
{
    // A server's bus id is no place in this machine's tree.
    const bool isHere = record.host[QStringLiteral("way")].toString() == QLatin1String("kernel");
    return isHere ? hostNodes(record.host[QStringLiteral("busId")].toString()) : QStringList();
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
    const QStringList nodes = nodesOf(record);
    if (!nodes.isEmpty())
        json.insert(QStringLiteral("nodes"), QJsonArray::fromStringList(nodes));
    return json;
}
