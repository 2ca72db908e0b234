#include "emulation/usb/descriptors.h"

#include <QStringList>

namespace usb {

namespace {

/// bDescriptorType of the standard descriptors.
enum Type : std::uint8_t
{
    DeviceType = 1,
    ConfigurationType = 2,
    StringType = 3,
    InterfaceType = 4,
    EndpointType = 5,
    DeviceQualifierType = 6,
    InterfaceAssociationType = 11,
    BinaryObjectStoreType = 15,
    DeviceCapabilityType = 16,
    EndpointCompanionType = 48,
};

constexpr std::uint16_t kEnglish = 0x0409; // United States
constexpr int kLongestString = 126;        // UTF-16 units that one descriptor holds

/// Numbers the strings from 1 in the order in which descriptors name them.
class StringTable
{
public:
    /// 0 for an empty text: no string.
    std::uint8_t add(const QString& text)
    {
        if (text.isEmpty())
            return 0;
        m_texts.append(text);
        return static_cast<std::uint8_t>(m_texts.size());
    }

    QString text(int index) const { return m_texts.value(index - 1); }

private:
    QStringList m_texts;
};

std::uint8_t maxPacketSize0(Speed speed)
{
    return speed == Speed::Super ? 9 : 64;
}

QByteArray writeDevice(const DeviceDescriptors& device, StringTable& strings)
{
    DescriptorWriter writer(DeviceType);
    writer.u16(device.bcdUSB).u8(device.bDeviceClass).u8(device.bDeviceSubClass).u8(device.bDeviceProtocol);
    writer.u8(maxPacketSize0(device.speed)).u16(device.idVendor).u16(device.idProduct).u16(device.bcdDevice);
    writer.u8(strings.add(device.manufacturer)).u8(strings.add(device.product)).u8(strings.add(device.serialNumber));
    return writer.u8(1).take();
}

QByteArray writeEndpoint(const Endpoint& endpoint)
{
    const auto attributes = static_cast<std::uint32_t>(endpoint.type) |
                            static_cast<std::uint32_t>(endpoint.synchronization) << 2 |
                            static_cast<std::uint32_t>(endpoint.usage) << 4;
    DescriptorWriter writer(EndpointType);
    writer.u8(endpoint.bEndpointAddress).u8(attributes);
    writer.u16(endpoint.maxPacketSize | static_cast<std::uint32_t>(endpoint.transactionsPerInterval - 1) << 11);
    writer.u8(endpoint.bInterval);
    if (endpoint.audioTail)
        writer.u8(endpoint.audioTail->bRefresh).u8(endpoint.audioTail->bSynchAddress);
    QByteArray bytes = writer.take();
    if (endpoint.companion) {
        const EndpointCompanion& companion = *endpoint.companion;
        bytes += DescriptorWriter(EndpointCompanionType)
                     .u8(companion.bMaxBurst)
                     .u8(companion.bmAttributes)
                     .u16(companion.wBytesPerInterval)
                     .take();
    }
    for (const QByteArray& descriptor : endpoint.classDescriptors)
        bytes += descriptor;
    return bytes;
}

QByteArray writeAlternate(std::uint8_t interfaceNumber, const AlternateSetting& alternate, StringTable& strings)
{
    DescriptorWriter writer(InterfaceType);
    writer.u8(interfaceNumber).u8(alternate.bAlternateSetting);
    writer.u8(static_cast<std::uint32_t>(alternate.endpoints.size()));
    writer.u8(alternate.bInterfaceClass).u8(alternate.bInterfaceSubClass).u8(alternate.bInterfaceProtocol);
    QByteArray bytes = writer.u8(strings.add(alternate.name)).take();
    for (const QByteArray& descriptor : alternate.classDescriptors)
        bytes += descriptor;
    for (const Endpoint& endpoint : alternate.endpoints)
        bytes += writeEndpoint(endpoint);
    return bytes;
}

QByteArray writeInterfaces(const Configuration& configuration, StringTable& strings)
{
    QByteArray bytes;
    for (const Interface& interface : configuration.interfaces) {
        for (const InterfaceAssociation& association : configuration.associations)
            if (association.bFirstInterface == interface.bInterfaceNumber)
                bytes += DescriptorWriter(InterfaceAssociationType)
                             .u8(association.bFirstInterface)
                             .u8(association.bInterfaceCount)
                             .u8(association.bFunctionClass)
                             .u8(association.bFunctionSubClass)
                             .u8(association.bFunctionProtocol)
                             .u8(strings.add(association.name))
                             .take();
        for (const AlternateSetting& alternate : interface.alternates)
            bytes += writeAlternate(interface.bInterfaceNumber, alternate, strings);
    }
    return bytes;
}

QByteArray writeConfiguration(const DeviceDescriptors& device, StringTable& strings)
{
    constexpr int kSize = 9;
    const Configuration& configuration = device.configuration;
    const std::uint8_t name = strings.add(configuration.name);
    const QByteArray interfaces = writeInterfaces(configuration, strings);
    const std::uint32_t attributes =
        0x80U | (configuration.selfPowered ? 0x40U : 0U) | (configuration.remoteWakeup ? 0x20U : 0U);
    DescriptorWriter writer(ConfigurationType);
    writer.u16(static_cast<std::uint32_t>(kSize + interfaces.size()));
    writer.u8(static_cast<std::uint32_t>(configuration.interfaces.size()));
    writer.u8(configuration.bConfigurationValue).u8(name).u8(attributes);
    writer.u8(configuration.maxPower / (device.speed == Speed::Super ? 8U : 2U));
    return writer.take() + interfaces;
}

QByteArray writeString(QString text)
{
    if (text.size() > kLongestString)
        text.truncate(text.at(kLongestString - 1).isHighSurrogate() ? kLongestString - 1 : kLongestString);
    DescriptorWriter writer(StringType);
    for (const QChar unit : text)
        writer.u16(unit.unicode());
    return writer.take();
}

} // namespace

DescriptorWriter::DescriptorWriter(std::uint8_t bDescriptorType) : m_bytes(2, '\0')
{
    m_bytes[1] = static_cast<char>(bDescriptorType);
}

DescriptorWriter& DescriptorWriter::u8(std::uint32_t value)
{
    m_bytes.append(static_cast<char>(value));
    return *this;
}

DescriptorWriter& DescriptorWriter::u16(std::uint32_t value)
{
    return u8(value).u8(value >> 8);
}

DescriptorWriter& DescriptorWriter::u24(std::uint32_t value)
{
    return u16(value).u8(value >> 16);
}

DescriptorWriter& DescriptorWriter::u32(std::uint32_t value)
{
    return u16(value).u16(value >> 16);
}

DescriptorWriter& DescriptorWriter::bytes(const QByteArray& bytes)
{
    m_bytes.append(bytes);
    return *this;
}

QByteArray DescriptorWriter::take() const
{
    Q_ASSERT(m_bytes.size() <= 255);
    QByteArray descriptor = m_bytes;
    descriptor[0] = static_cast<char>(descriptor.size());
    return descriptor;
}

QByteArray deviceDescriptor(const DeviceDescriptors& device)
{
    StringTable strings;
    return writeDevice(device, strings);
}

QByteArray configurationDescriptor(const DeviceDescriptors& device)
{
    StringTable strings;
    writeDevice(device, strings);
    return writeConfiguration(device, strings);
}

QByteArray stringDescriptor(const DeviceDescriptors& device, std::uint8_t index, std::uint16_t language)
{
    if (index == 0)
        return DescriptorWriter(StringType).u16(kEnglish).take();
    StringTable strings;
    writeDevice(device, strings);
    writeConfiguration(device, strings);
    const QString text = strings.text(index);
    return text.isEmpty() || language != kEnglish ? QByteArray() : writeString(text);
}

QByteArray deviceQualifierDescriptor(const DeviceDescriptors& device)
{
    if (device.speed != Speed::High)
        return {};
    // No configuration: the device does not work at full speed.
    return DescriptorWriter(DeviceQualifierType)
        .u16(device.bcdUSB)
        .u8(device.bDeviceClass)
        .u8(device.bDeviceSubClass)
        .u8(device.bDeviceProtocol)
        .u8(maxPacketSize0(Speed::Full))
        .u8(0)
        .u8(0)
        .take();
}

QByteArray binaryObjectStoreDescriptor(const DeviceDescriptors& device)
{
    if (device.bcdUSB < 0x0201)
        return {};
    constexpr std::uint32_t kUsb20Extension = 2;
    constexpr std::uint32_t kSuperSpeed = 3;
    constexpr std::uint32_t kLinkPowerManagement = 2; // every SuperSpeed device knows it at its lower speed
    const bool isSuper = device.speed == Speed::Super;
    QByteArray capabilities =
        DescriptorWriter(DeviceCapabilityType).u8(kUsb20Extension).u32(isSuper ? kLinkPowerManagement : 0).take();
    if (isSuper) {
        constexpr std::uint32_t kHighAndSuper = 0x000C;
        constexpr std::uint32_t kAllFunctionsAtSuper = 3;
        DescriptorWriter writer(DeviceCapabilityType);
        // No latency tolerance messages; leaving U1 and U2 takes no time on a bus that has no wires.
        writer.u8(kSuperSpeed).u8(0).u16(kHighAndSuper).u8(kAllFunctionsAtSuper).u8(0).u16(0);
        capabilities += writer.take();
    }
    DescriptorWriter writer(BinaryObjectStoreType);
    writer.u16(static_cast<std::uint32_t>(5 + capabilities.size())).u8(isSuper ? 2 : 1);
    return writer.take() + capabilities;
}

} // namespace usb
