#include "emulation/usb/descriptor_parser.h"

#include <algorithm>

namespace usb {

namespace {

constexpr int kDeviceSize = 18;
constexpr int kConfigurationSize = 9;

std::uint8_t byteAt(const QByteArray& bytes, int offset)
{
    return static_cast<std::uint8_t>(bytes.at(offset));
}

std::uint16_t wordAt(const QByteArray& bytes, int offset)
{
    return static_cast<std::uint16_t>(byteAt(bytes, offset) | byteAt(bytes, offset + 1) << 8);
}

/// Takes the descriptors behind a configuration one after the other.
class ConfigurationParser
{
public:
    ConfigurationParser(Configuration& configuration, std::vector<QString>& faults)
        : m_configuration(configuration)
        , m_faults(faults)
    {}

    void add(const QByteArray& descriptor)
    {
        switch (byteAt(descriptor, 1)) {
        case 4:
            return addInterface(descriptor);
        case 5:
            return addEndpoint(descriptor);
        case 11:
            return addAssociation(descriptor);
        case 48:
            return addCompanion(descriptor);
        default:
            if (m_endpoint)
                m_endpoint->classDescriptors.push_back(descriptor);
            else if (m_alternate)
                m_alternate->classDescriptors.push_back(descriptor);
        }
    }

    void finish()
    {
        if (m_alternate && m_alternate->endpoints.size() != m_promisedEndpoints)
            fault(QStringLiteral("Interface %1, alternate setting %2: bNumEndpoints is %3, but %4 follow.")
                      .arg(m_number)
                      .arg(m_alternate->bAlternateSetting)
                      .arg(m_promisedEndpoints)
                      .arg(m_alternate->endpoints.size()));
    }

private:
    void fault(const QString& sentence) { m_faults.push_back(sentence); }

    bool isWhole(const QByteArray& descriptor, int size, const char* name)
    {
        if (descriptor.size() >= size)
            return true;
        fault(QStringLiteral("A descriptor of %1 has %2 bytes; it needs %3.")
                  .arg(QLatin1String(name))
                  .arg(descriptor.size())
                  .arg(size));
        return false;
    }

    void addInterface(const QByteArray& bytes)
    {
        finish();
        m_alternate = nullptr;
        m_endpoint = nullptr;
        if (!isWhole(bytes, 9, "an interface"))
            return;
        m_number = byteAt(bytes, 2);
        auto& interfaces = m_configuration.interfaces;
        auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                  [this](const Interface& one) { return one.bInterfaceNumber == m_number; });
        if (found == interfaces.end())
            found = interfaces.insert(interfaces.end(), Interface{m_number, {}});
        AlternateSetting alternate;
        alternate.bAlternateSetting = byteAt(bytes, 3);
        alternate.bInterfaceClass = byteAt(bytes, 5);
        alternate.bInterfaceSubClass = byteAt(bytes, 6);
        alternate.bInterfaceProtocol = byteAt(bytes, 7);
        m_promisedEndpoints = byteAt(bytes, 4);
        m_alternate = &found->alternates.emplace_back(alternate);
    }

    void addEndpoint(const QByteArray& bytes)
    {
        if (!isWhole(bytes, 7, "an endpoint"))
            return;
        if (!m_alternate)
            return fault(QStringLiteral("An endpoint stands before every interface."));
        const std::uint8_t attributes = byteAt(bytes, 3);
        const std::uint16_t packet = wordAt(bytes, 4);
        Endpoint endpoint;
        endpoint.bEndpointAddress = byteAt(bytes, 2);
        endpoint.type = static_cast<TransferType>(attributes & 3);
        endpoint.synchronization = static_cast<Synchronization>(attributes >> 2 & 3);
        endpoint.usage = static_cast<IsochronousUsage>(attributes >> 4 & 3);
        endpoint.maxPacketSize = packet & 0x7FF;
        endpoint.transactionsPerInterval = static_cast<std::uint8_t>((packet >> 11 & 3) + 1);
        endpoint.bInterval = byteAt(bytes, 6);
        if (bytes.size() >= 9)
            endpoint.audioTail = Endpoint::AudioTail{byteAt(bytes, 7), byteAt(bytes, 8)};
        m_endpoint = &m_alternate->endpoints.emplace_back(endpoint);
    }

    void addCompanion(const QByteArray& bytes)
    {
        if (!isWhole(bytes, 6, "an endpoint companion"))
            return;
        if (!m_endpoint || m_endpoint->companion || !m_endpoint->classDescriptors.empty())
            return fault(QStringLiteral("An endpoint companion does not stand right behind its endpoint."));
        m_endpoint->companion = EndpointCompanion{byteAt(bytes, 2), byteAt(bytes, 3), wordAt(bytes, 4)};
    }

    void addAssociation(const QByteArray& bytes)
    {
        if (!isWhole(bytes, 8, "an interface association"))
            return;
        m_configuration.associations.push_back(
            {byteAt(bytes, 2), byteAt(bytes, 3), byteAt(bytes, 4), byteAt(bytes, 5), byteAt(bytes, 6), {}});
    }

    Configuration& m_configuration;
    std::vector<QString>& m_faults;
    std::uint8_t m_number = 0;
    std::size_t m_promisedEndpoints = 0;
    AlternateSetting* m_alternate = nullptr; // until the next interface
    Endpoint* m_endpoint = nullptr;          // until the next endpoint or interface
};

void parseDevice(const QByteArray& bytes, ParsedDescriptors& parsed)
{
    if (bytes.size() != kDeviceSize || byteAt(bytes, 0) != kDeviceSize || byteAt(bytes, 1) != 1) {
        parsed.faults.push_back(QStringLiteral("The device descriptor is not one of 18 bytes."));
        return;
    }
    DeviceDescriptors& device = parsed.device;
    device.bcdUSB = wordAt(bytes, 2);
    device.bDeviceClass = byteAt(bytes, 4);
    device.bDeviceSubClass = byteAt(bytes, 5);
    device.bDeviceProtocol = byteAt(bytes, 6);
    device.idVendor = wordAt(bytes, 8);
    device.idProduct = wordAt(bytes, 10);
    device.bcdDevice = wordAt(bytes, 12);
    const int wanted = device.speed == Speed::Super ? 9 : 64;
    if (byteAt(bytes, 7) != wanted)
        parsed.faults.push_back(
            QStringLiteral("bMaxPacketSize0 is %1; at this speed it is %2.").arg(byteAt(bytes, 7)).arg(wanted));
    if (byteAt(bytes, 17) != 1)
        parsed.faults.push_back(QStringLiteral("bNumConfigurations is %1, not 1.").arg(byteAt(bytes, 17)));
}

void parseConfiguration(const QByteArray& bytes, ParsedDescriptors& parsed)
{
    const auto fault = [&](const QString& sentence) { parsed.faults.push_back(sentence); };
    if (bytes.size() < kConfigurationSize || byteAt(bytes, 0) != kConfigurationSize || byteAt(bytes, 1) != 2)
        return fault(QStringLiteral("The configuration does not begin with a descriptor of 9 bytes."));
    Configuration& configuration = parsed.device.configuration;
    const std::uint8_t attributes = byteAt(bytes, 7);
    configuration.bConfigurationValue = byteAt(bytes, 5);
    configuration.selfPowered = (attributes & 0x40) != 0;
    configuration.remoteWakeup = (attributes & 0x20) != 0;
    configuration.maxPower =
        static_cast<std::uint16_t>(byteAt(bytes, 8) * (parsed.device.speed == Speed::Super ? 8 : 2));
    if (wordAt(bytes, 2) != bytes.size())
        fault(QStringLiteral("wTotalLength is %1, but the configuration has %2 bytes.")
                  .arg(wordAt(bytes, 2))
                  .arg(bytes.size()));
    if ((attributes & 0x9F) != 0x80)
        fault(QStringLiteral("bmAttributes is 0x%1: bit 7 is set and bits 0 to 4 are not.").arg(attributes, 2, 16));
    ConfigurationParser parser(configuration, parsed.faults);
    for (int offset = kConfigurationSize; offset < bytes.size();) {
        const int length = byteAt(bytes, offset);
        if (length < 2 || offset + length > bytes.size()) {
            fault(QStringLiteral("The descriptor at byte %1 has a length of %2, which does not fit.")
                      .arg(offset)
                      .arg(length));
            break;
        }
        parser.add(bytes.mid(offset, length));
        offset += length;
    }
    parser.finish();
    if (byteAt(bytes, 4) != configuration.interfaces.size())
        fault(QStringLiteral("bNumInterfaces is %1, but %2 follow.")
                  .arg(byteAt(bytes, 4))
                  .arg(configuration.interfaces.size()));
}

} // namespace

ParsedDescriptors parseDescriptors(const QByteArray& deviceBytes, const QByteArray& configurationBytes, Speed speed)
{
    ParsedDescriptors parsed;
    parsed.device.speed = speed;
    parseDevice(deviceBytes, parsed);
    parseConfiguration(configurationBytes, parsed);
    return parsed;
}

} // namespace usb
