#include "tools/usb_daemon/sessions/device_session.h"

#include "tools/usb_daemon/sessions/sessions.h"

#include <QJsonArray>
#include <QtEndian>

#include <utility>

namespace {

constexpr std::int32_t kStall = -32;

QByteArray getDescriptor(std::uint8_t type, std::uint8_t index, std::uint16_t length, std::uint16_t language = 0)
{
    QByteArray setup = QByteArray::fromHex("8006000000000000");
    setup[2] = static_cast<char>(index);
    setup[3] = static_cast<char>(type);
    qToLittleEndian(language, setup.data() + 4);
    qToLittleEndian(length, setup.data() + 6);
    return setup;
}

QByteArray stringDescriptor(const QString& text)
{
    QByteArray bytes(2, '\x03');
    for (const QChar letter : text) {
        const ushort code = letter.unicode();
        bytes.append(static_cast<char>(code & 0xFF)).append(static_cast<char>(code >> 8));
    }
    bytes[0] = static_cast<char>(bytes.size());
    return bytes;
}

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

QJsonObject configJson(const QByteArray& d)
{
    return {{QStringLiteral("bLength"), valueAt(d, 0, 1)},
            {QStringLiteral("bDescriptorType"), valueAt(d, 1, 1)},
            {QStringLiteral("wTotalLength"), valueAt(d, 2, 2)},
            {QStringLiteral("bNumInterfaces"), valueAt(d, 4, 1)},
            {QStringLiteral("bConfigurationValue"), valueAt(d, 5, 1)},
            {QStringLiteral("iConfiguration"), valueAt(d, 6, 1)},
            {QStringLiteral("bmAttributes"), valueAt(d, 7, 1)},
            {QStringLiteral("bMaxPower"), 2 * valueAt(d, 8, 1)}};
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

DeviceSession::DeviceSession(DeviceIdentity identity, std::uint32_t deviceId)
    : m_identity(std::move(identity))
    , m_urbs(deviceId)
{}

SessionPacket DeviceSession::nextPacket()
{
    if (!m_enumerated) {
        m_enumerated = true;
        enumerate();
        setUp();
    }
    if (m_urbs.isEmpty())
        use(m_round++);
    return m_urbs.take();
}

void DeviceSession::enumerate()
{
    const auto total = static_cast<std::uint16_t>(m_identity.configuration.size());
    m_urbs.control(getDescriptor(1, 0, 18), m_identity.deviceDescriptor);
    m_urbs.control(getDescriptor(6, 0, 10), {}, kStall); // full speed only: no qualifier
    m_urbs.control(getDescriptor(2, 0, 9), m_identity.configuration);
    m_urbs.control(getDescriptor(2, 0, total), m_identity.configuration);
    m_urbs.control(getDescriptor(3, 0, 255), QByteArray::fromHex("04030904"));
    std::uint8_t index = 1;
    for (const QString& text : std::as_const(m_identity.strings))
        m_urbs.control(getDescriptor(3, index++, 255, 0x0409), stringDescriptor(text));
    m_urbs.control(QByteArray::fromHex("0009010000000000"));
    m_urbs.control(QByteArray::fromHex("8000000000000200"), QByteArray::fromHex("0000"));
}

QJsonObject DeviceSession::configuration() const
{
    InterfaceCollector collector;
    const QByteArray& bytes = m_identity.configuration;
    for (int offset = 0; offset + 2 <= bytes.size();) {
        const int length = std::max(valueAt(bytes, offset, 1), 2);
        collector.add(bytes.mid(offset, length));
        offset += length;
    }
    return {{QStringLiteral("configDescriptor"), configJson(bytes)},
            {QStringLiteral("interfaces"), collector.interfaces()}};
}

std::unique_ptr<DeviceSession> makeDeviceSession(const QString& typeWord, std::uint32_t deviceId)
{
    if (typeWord == QLatin1String("keyboard"))
        return makeKeyboardSession(deviceId);
    if (typeWord == QLatin1String("mouse"))
        return makeMouseSession(deviceId);
    if (typeWord == QLatin1String("fido2"))
        return makeFido2Session(deviceId);
    if (typeWord == QLatin1String("udisk"))
        return makeStorageSession(deviceId);
    if (typeWord == QLatin1String("camera"))
        return makeCameraSession(deviceId);
    if (typeWord == QLatin1String("microphone"))
        return makeMicrophoneSession(deviceId);
    if (typeWord == QLatin1String("speaker"))
        return makeSpeakerSession(deviceId);
    if (typeWord == QLatin1String("usbip"))
        return makeSerialSession(deviceId);
    return nullptr;
}

QStringList deviceSessionTypes()
{
    return {QStringLiteral("camera"),   QStringLiteral("microphone"), QStringLiteral("speaker"),
            QStringLiteral("keyboard"), QStringLiteral("mouse"),      QStringLiteral("udisk"),
            QStringLiteral("fido2"),    QStringLiteral("usbip")};
}
