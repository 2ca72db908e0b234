#include "emulation/channels/configuration_json.h"

#include <QJsonArray>
#include <QMap>
#include <QtEndian>

#include <algorithm>
#include <utility>

namespace {

int valueAt(const QByteArray& descriptor, int offset, int size)
{
    if (descriptor.size() < offset + size)
        return 0;
    return size == 1 ? static_cast<std::uint8_t>(descriptor.at(offset))
                     : qFromLittleEndian<std::uint16_t>(descriptor.constData() + offset);
}

QString hexText(int value, int digits)
{
    return QStringLiteral("0x%1").arg(value, digits, 16, QLatin1Char('0'));
}

QJsonObject configJson(const QByteArray& d, bool isSuperSpeed)
{
    return {{QStringLiteral("bLength"), valueAt(d, 0, 1)},
            {QStringLiteral("bDescriptorType"), valueAt(d, 1, 1)},
            {QStringLiteral("wTotalLength"), valueAt(d, 2, 2)},
            {QStringLiteral("bNumInterfaces"), valueAt(d, 4, 1)},
            {QStringLiteral("bConfigurationValue"), valueAt(d, 5, 1)},
            {QStringLiteral("iConfiguration"), valueAt(d, 6, 1)},
            {QStringLiteral("bmAttributes"), valueAt(d, 7, 1)},
            {QStringLiteral("bMaxPower"), (isSuperSpeed ? 8 : 2) * valueAt(d, 8, 1)}};
}

QJsonObject interfaceJson(const QByteArray& d)
{
    return {{QStringLiteral("bLength"), QString::number(valueAt(d, 0, 1))},
            {QStringLiteral("bDescriptorType"), hexText(valueAt(d, 1, 1), 2)},
            {QStringLiteral("bInterfaceNumber"), QString::number(valueAt(d, 2, 1))},
            {QStringLiteral("bAlternateSetting"), QString::number(valueAt(d, 3, 1))},
            {QStringLiteral("bNumEndpoints"), QString::number(valueAt(d, 4, 1))},
            {QStringLiteral("bInterfaceClass"), hexText(valueAt(d, 5, 1), 2)},
            {QStringLiteral("bInterfaceSubClass"), hexText(valueAt(d, 6, 1), 2)},
            {QStringLiteral("bInterfaceProtocol"), hexText(valueAt(d, 7, 1), 2)},
            {QStringLiteral("iInterface"), QString::number(valueAt(d, 8, 1))}};
}

QJsonObject endpointJson(const QByteArray& d)
{
    return {{QStringLiteral("bLength"), QString::number(valueAt(d, 0, 1))},
            {QStringLiteral("bDescriptorType"), hexText(valueAt(d, 1, 1), 2)},
            {QStringLiteral("bEndpointAddress"), hexText(valueAt(d, 2, 1), 2)},
            {QStringLiteral("bmAttributes"), hexText(valueAt(d, 3, 1), 2)},
            {QStringLiteral("wMaxPacketSize"), QString::number(valueAt(d, 4, 2))},
            {QStringLiteral("bInterval"), QString::number(valueAt(d, 6, 1))}};
}

/// Collects interfaces by number while descriptors come one after the other.
class InterfaceCollector
{
public:
    void add(const QByteArray& descriptor)
    {
        const int type = valueAt(descriptor, 1, 1);
        if (type == 4) {
            finishSetting();
            m_number = valueAt(descriptor, 2, 1);
            m_setting = QJsonObject{{QStringLiteral("descriptor"), interfaceJson(descriptor)}};
        } else if (type == 5) {
            m_endpoints.append(endpointJson(descriptor));
        }
    }

    QJsonArray interfaces()
    {
        finishSetting();
        QJsonArray result;
        for (const QJsonArray& settings : std::as_const(m_settings))
            result.append(QJsonObject{{QStringLiteral("alternateSettings"), settings}});
        return result;
    }

private:
    void finishSetting()
    {
        if (m_number < 0)
            return;
        m_setting.insert(QStringLiteral("endpoints"), m_endpoints);
        m_settings[m_number].append(m_setting);
        m_endpoints = {};
        m_number = -1;
    }

    int m_number = -1;
    QJsonObject m_setting;
    QJsonArray m_endpoints;
    QMap<int, QJsonArray> m_settings;
};

} // namespace

QJsonObject configurationJson(const QByteArray& bytes, bool isSuperSpeed)
{
    if (valueAt(bytes, 1, 1) != 2)
        return {};
    InterfaceCollector collector;
    for (int offset = 0; offset + 2 <= bytes.size();) {
        const int length = std::max(valueAt(bytes, offset, 1), 2);
        collector.add(bytes.mid(offset, length));
        offset += length;
    }
    return {{QStringLiteral("configDescriptor"), configJson(bytes, isSuperSpeed)},
            {QStringLiteral("interfaces"), collector.interfaces()}};
}
