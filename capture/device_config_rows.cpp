#include "capture/device_config_rows.h"

#include "capture/hex_text.h"

#include <QJsonArray>

#include <initializer_list>

namespace {

using Keys = std::initializer_list<const char*>;

QString decimal(const QJsonObject& object, const char* key)
{
    return QString::number(object.value(QLatin1String(key)).toInt());
}

/// Rows of descriptors whose values are texts; a value of any other type shows as nothing.
void addTexts(DetailRow& parent, const QJsonObject& object, Keys keys)
{
    for (const char* key : keys)
        parent.add(QLatin1String(key), object.value(QLatin1String(key)).toString());
}

QString configValue(const QJsonObject& descriptor, const char* key)
{
    const QLatin1String name(key);
    if (name == QLatin1String("bDescriptorType") || name == QLatin1String("bmAttributes"))
        return hexNumber(static_cast<quint32>(descriptor.value(name).toInt()), 2);
    if (name == QLatin1String("bMaxPower"))
        return decimal(descriptor, key) + QLatin1String(" mA");
    return decimal(descriptor, key);
}

void addConfigDescriptor(DetailRow& parent, const QJsonObject& descriptor)
{
    DetailRow& group = parent.add(QStringLiteral("Configuration Descriptor"));
    for (const char* key : {"bLength", "bDescriptorType", "wTotalLength", "bNumInterfaces", "bConfigurationValue",
                            "iConfiguration", "bmAttributes", "bMaxPower"})
        group.add(QLatin1String(key), configValue(descriptor, key));
}

void addEndpoints(DetailRow& parent, const QJsonArray& endpoints)
{
    DetailRow& group = parent.add(QStringLiteral("Endpoints (%1)").arg(endpoints.size()));
    for (const QJsonValue& value : endpoints) {
        const QJsonObject endpoint = value.toObject();
        addTexts(group.add(endpoint.value(QLatin1String("bEndpointAddress")).toString()), endpoint,
                 {"bLength", "bDescriptorType", "bEndpointAddress", "bmAttributes", "wMaxPacketSize", "bInterval"});
    }
}

void addAlternateSetting(DetailRow& parent, const QJsonObject& setting)
{
    const QJsonObject descriptor = setting.value(QLatin1String("descriptor")).toObject();
    DetailRow& group = parent.add(QStringLiteral("Alternate Setting %1").arg(decimal(descriptor, "bAlternateSetting")));
    addTexts(group.add(QStringLiteral("Interface Descriptor")), descriptor,
             {"bLength", "bDescriptorType", "bInterfaceNumber", "bAlternateSetting", "bNumEndpoints", "bInterfaceClass",
              "bInterfaceSubClass", "bInterfaceProtocol", "iInterface"});
    addEndpoints(group, setting.value(QLatin1String("endpoints")).toArray());
}

void addInterfaces(DetailRow& parent, const QJsonArray& interfaces)
{
    DetailRow& group = parent.add(QStringLiteral("Interfaces (%1)").arg(interfaces.size()));
    int number = 0;
    for (const QJsonValue& value : interfaces) {
        const QJsonArray settings = value.toObject().value(QLatin1String("alternateSettings")).toArray();
        DetailRow& row =
            group.add(QStringLiteral("Interface %1 - Alternate Settings (%2)").arg(number++).arg(settings.size()));
        for (const QJsonValue& setting : settings)
            addAlternateSetting(row, setting.toObject());
    }
}

} // namespace

DetailRow deviceConfigRows(const QJsonObject& config)
{
    DetailRow top;
    addConfigDescriptor(top, config.value(QLatin1String("configDescriptor")).toObject());
    addInterfaces(top, config.value(QLatin1String("interfaces")).toArray());
    return top;
}
