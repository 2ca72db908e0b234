#include "capture/decode/device_config_rows.h"

#include "capture/decode/hex_text.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <initializer_list>

namespace {

/// Titles are translated, the names of descriptor fields are not.
struct DeviceConfigRows
{
    Q_DECLARE_TR_FUNCTIONS(DeviceConfigRows)
};

using Keys = std::initializer_list<const char*>;

QString decimal(const QJsonObject& object, const char* key)
{
    return QString::number(object.value(QLatin1String(key)).toInt());
}

/// A value that is a text, as it stands; one that was made to stop the window is cut. Nothing for any other type.
QString text(const QJsonObject& object, const char* key)
{
    constexpr int kLongest = 1000; // characters
    return object.value(QLatin1String(key)).toString().left(kLongest);
}

/// Rows of descriptors whose values are texts.
void addTexts(DetailRow& parent, const QJsonObject& object, Keys keys)
{
    for (const char* key : keys)
        parent.add(QLatin1String(key), text(object, key));
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
    DetailRow& group = parent.add(DeviceConfigRows::tr("Configuration Descriptor"));
    for (const char* key : {"bLength", "bDescriptorType", "wTotalLength", "bNumInterfaces", "bConfigurationValue",
                            "iConfiguration", "bmAttributes", "bMaxPower"})
        group.add(QLatin1String(key), configValue(descriptor, key));
}

/// Elements of arrays that may still be shown. A real configuration has a few hundred at most; one that was made to
/// stop the window does not.
class Room
{
public:
    /// Calls `show` for each element while there is room, and then says in one row how many were left out.
    template<typename Show>
    void forEach(DetailRow& parent, const QJsonArray& elements, Show show)
    {
        int shown = 0;
        for (const QJsonValue& element : elements) {
            if (m_left == 0)
                break;
            --m_left;
            ++shown;
            show(element.toObject());
        }
        if (shown < elements.size())
            parent.add(DeviceConfigRows::tr("... (%1 more)").arg(elements.size() - shown));
    }

private:
    int m_left = 5000;
};

void addEndpoints(DetailRow& parent, const QJsonArray& endpoints, Room& room)
{
    DetailRow& group = parent.add(DeviceConfigRows::tr("Endpoints (%1)").arg(endpoints.size()));
    room.forEach(group, endpoints, [&group](const QJsonObject& endpoint) {
        addTexts(group.add(text(endpoint, "bEndpointAddress")), endpoint,
                 {"bLength", "bDescriptorType", "bEndpointAddress", "bmAttributes", "wMaxPacketSize", "bInterval"});
    });
}

void addAlternateSetting(DetailRow& parent, const QJsonObject& setting, Room& room)
{
    const QJsonObject descriptor = setting.value(QLatin1String("descriptor")).toObject();
    DetailRow& group =
        parent.add(DeviceConfigRows::tr("Alternate Setting %1").arg(decimal(descriptor, "bAlternateSetting")));
    addTexts(group.add(DeviceConfigRows::tr("Interface Descriptor")), descriptor,
             {"bLength", "bDescriptorType", "bInterfaceNumber", "bAlternateSetting", "bNumEndpoints", "bInterfaceClass",
              "bInterfaceSubClass", "bInterfaceProtocol", "iInterface"});
    addEndpoints(group, setting.value(QLatin1String("endpoints")).toArray(), room);
}

void addInterfaces(DetailRow& parent, const QJsonArray& interfaces)
{
    Room room;
    DetailRow& group = parent.add(DeviceConfigRows::tr("Interfaces (%1)").arg(interfaces.size()));
    int number = 0;
    room.forEach(group, interfaces, [&](const QJsonObject& interface) {
        const QJsonArray settings = interface.value(QLatin1String("alternateSettings")).toArray();
        DetailRow& row = group.add(
            DeviceConfigRows::tr("Interface %1 - Alternate Settings (%2)").arg(number++).arg(settings.size()));
        room.forEach(row, settings, [&](const QJsonObject& setting) { addAlternateSetting(row, setting, room); });
    });
}

} // namespace

DetailRow deviceConfigRows(const QJsonObject& config)
{
    DetailRow top;
    addConfigDescriptor(top, config.value(QLatin1String("configDescriptor")).toObject());
    addInterfaces(top, config.value(QLatin1String("interfaces")).toArray());
    return top;
}
