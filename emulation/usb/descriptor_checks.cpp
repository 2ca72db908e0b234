#include "emulation/usb/descriptor_parser.h"

#include <algorithm>
#include <set>

namespace usb {

namespace {

constexpr int kLongestConfiguration = 0xFFFF; // bytes
constexpr int kMostEndpoints = 30;            // 15 each way

/// Checks the whole set and collects its faults.
class Checker
{
public:
    explicit Checker(const DeviceDescriptors& device) : m_device(device), m_isSuper(device.speed == Speed::Super) {}

    std::vector<QString> run()
    {
        checkDevice();
        checkConfiguration();
        checkAssociations();
        for (std::size_t i = 0; i < m_device.configuration.interfaces.size(); ++i)
            checkInterface(m_device.configuration.interfaces[i], i);
        if (m_addresses.size() > kMostEndpoints)
            fail(QStringLiteral("There are more than 30 endpoints."));
        return m_faults;
    }

private:
    void fail(const QString& sentence) { m_faults.push_back(sentence); }

    void expect(bool holds, const QString& sentence)
    {
        if (!holds)
            fail(sentence);
    }

    void checkDevice()
    {
        const std::uint16_t version = m_device.bcdUSB;
        bool isDecimal = true;
        for (int shift = 0; shift < 16; shift += 4)
            isDecimal = isDecimal && (version >> shift & 0xF) <= 9;
        expect(isDecimal && (m_isSuper ? version >= 0x0300 : version >= 0x0110 && version < 0x0300),
               QStringLiteral("bcdUSB %1 does not fit the speed.").arg(version, 4, 16, QLatin1Char('0')));
        const bool isMiscellaneous =
            m_device.bDeviceClass == 0xEF && m_device.bDeviceSubClass == 2 && m_device.bDeviceProtocol == 1;
        expect(m_device.configuration.associations.empty() || isMiscellaneous,
               QStringLiteral("Interfaces are associated, but the device's class is not EF, 02, 01."));
    }

    void checkConfiguration()
    {
        const Configuration& configuration = m_device.configuration;
        expect(configuration.bConfigurationValue != 0, QStringLiteral("bConfigurationValue is 0."));
        expect(!configuration.interfaces.empty(), QStringLiteral("The configuration has no interface."));
        const int mostPower = m_isSuper ? 900 : 500;
        const int unit = m_isSuper ? 8 : 2;
        const bool fits = configuration.maxPower <= mostPower && configuration.maxPower % unit == 0;
        expect(fits, QStringLiteral("A maximum power of %1 mA cannot be said.").arg(configuration.maxPower));
        expect(configurationDescriptor(m_device).size() <= kLongestConfiguration,
               QStringLiteral("The configuration has more than 65535 bytes."));
    }

    void checkAssociations()
    {
        std::set<int> taken;
        for (const InterfaceAssociation& association : m_device.configuration.associations) {
            const int first = association.bFirstInterface;
            expect(association.bInterfaceCount >= 1, QStringLiteral("An association has no interfaces."));
            expect(first + association.bInterfaceCount <= int(m_device.configuration.interfaces.size()),
                   QStringLiteral("The association of interface %1 covers interfaces that are not there.").arg(first));
            for (int number = first; number < first + association.bInterfaceCount; ++number)
                expect(taken.insert(number).second, QStringLiteral("Interface %1 is in two associations.").arg(number));
        }
    }

    void checkInterface(const Interface& interface, std::size_t position)
    {
        const int number = interface.bInterfaceNumber;
        expect(number == int(position),
               QStringLiteral("Interface %1 stands where interface %2 should.").arg(number).arg(position));
        expect(!interface.alternates.empty(), QStringLiteral("Interface %1 has no settings.").arg(number));
        std::set<int> ownAddresses;
        for (std::size_t i = 0; i < interface.alternates.size(); ++i)
            checkAlternate(interface.alternates[i], i, number, ownAddresses);
        for (const int address : ownAddresses)
            expect(m_addresses.insert(address).second,
                   QStringLiteral("Two interfaces have endpoint %1.").arg(hex(address)));
    }

    void checkAlternate(const AlternateSetting& alternate, std::size_t position, int number, std::set<int>& addresses)
    {
        m_place = QStringLiteral("Interface %1, alternate setting %2").arg(number).arg(alternate.bAlternateSetting);
        expect(alternate.bAlternateSetting == position,
               m_place + QStringLiteral(": stands where setting %1 should.").arg(position));
        std::set<int> here;
        for (const Endpoint& endpoint : alternate.endpoints) {
            m_place = QStringLiteral("Interface %1, alternate setting %2, endpoint %3")
                          .arg(number)
                          .arg(alternate.bAlternateSetting)
                          .arg(hex(endpoint.bEndpointAddress));
            expect(here.insert(endpoint.bEndpointAddress).second, m_place + QStringLiteral(": is there twice."));
            addresses.insert(endpoint.bEndpointAddress);
            const bool reserves = endpoint.type == TransferType::Isochronous && endpoint.maxPacketSize > 0;
            expect(position > 0 || !reserves,
                   m_place + QStringLiteral(": setting 0 must not reserve isochronous bandwidth."));
            checkEndpoint(endpoint);
        }
    }

    void checkEndpoint(const Endpoint& endpoint)
    {
        const int address = endpoint.bEndpointAddress;
        expect((address & 0x0F) != 0 && (address & 0x70) == 0, m_place + QStringLiteral(": is no address of one."));
        expect(endpoint.type != TransferType::Control, m_place + QStringLiteral(": is a control endpoint."));
        expect(packetSizeFits(endpoint),
               m_place +
                   QStringLiteral(": a packet of %1 bytes does not fit type and speed.").arg(endpoint.maxPacketSize));
        expect(intervalFits(endpoint),
               m_place + QStringLiteral(": bInterval %1 does not fit type and speed.").arg(endpoint.bInterval));
        expect(
            transactionsFit(endpoint),
            m_place +
                QStringLiteral(": %1 transactions in an interval do not fit.").arg(endpoint.transactionsPerInterval));
        const bool says = endpoint.synchronization != Synchronization::None || endpoint.usage != IsochronousUsage::Data;
        expect(!says || endpoint.type == TransferType::Isochronous,
               m_place + QStringLiteral(": only isochronous endpoints are synchronized."));
        expect(endpoint.companion.has_value() == m_isSuper,
               m_place + (m_isSuper ? QStringLiteral(": has no companion.")
                                    : QStringLiteral(": has a companion below SuperSpeed.")));
        if (endpoint.companion)
            checkCompanion(endpoint, *endpoint.companion);
    }

    bool packetSizeFits(const Endpoint& endpoint) const
    {
        const int size = endpoint.maxPacketSize;
        const bool isFull = m_device.speed == Speed::Full;
        switch (endpoint.type) {
        case TransferType::Bulk:
            return isFull ? size == 8 || size == 16 || size == 32 || size == 64 : size == (m_isSuper ? 1024 : 512);
        case TransferType::Interrupt:
            return size >= 1 && size <= (isFull ? 64 : 1024) && (!bursts(endpoint) || size == 1024);
        case TransferType::Isochronous:
            return size <= (isFull ? 1023 : 1024) && (!bursts(endpoint) || size == 1024);
        case TransferType::Control:
            break;
        }
        return true;
    }

    static bool bursts(const Endpoint& endpoint) { return endpoint.companion && endpoint.companion->bMaxBurst > 0; }

    bool intervalFits(const Endpoint& endpoint) const
    {
        const int interval = endpoint.bInterval;
        if (endpoint.type == TransferType::Bulk)
            return interval == 0;
        const bool isCounted = m_device.speed == Speed::Full && endpoint.type == TransferType::Interrupt;
        return interval >= 1 && interval <= (isCounted ? 255 : 16);
    }

    bool transactionsFit(const Endpoint& endpoint) const
    {
        const int count = endpoint.transactionsPerInterval;
        if (count == 1)
            return true;
        const bool isPeriodic = endpoint.type == TransferType::Isochronous || endpoint.type == TransferType::Interrupt;
        const int smallest = count == 2 ? 513 : 683; // bytes; fewer would fit fewer transactions
        return m_device.speed == Speed::High && isPeriodic && (count == 2 || count == 3) &&
               endpoint.maxPacketSize >= smallest;
    }

    void checkCompanion(const Endpoint& endpoint, const EndpointCompanion& companion)
    {
        expect(companion.bMaxBurst <= 15, m_place + QStringLiteral(": bMaxBurst is above 15."));
        const bool isIsochronous = endpoint.type == TransferType::Isochronous;
        const bool isBulk = endpoint.type == TransferType::Bulk;
        const int attributes = companion.bmAttributes;
        const bool fits = isBulk          ? attributes <= 16
                          : isIsochronous ? attributes <= 2 && (attributes == 0 || companion.bMaxBurst > 0)
                                          : attributes == 0;
        expect(fits, m_place + QStringLiteral(": bmAttributes %1 of its companion do not fit.").arg(attributes));
        const int packets = (companion.bMaxBurst + 1) * (isIsochronous ? attributes + 1 : 1);
        const int most = isBulk ? 0 : endpoint.maxPacketSize * packets;
        const bool isEmpty = isBulk || endpoint.maxPacketSize == 0;
        expect(companion.wBytesPerInterval <= most && (isEmpty || companion.wBytesPerInterval > 0),
               m_place + QStringLiteral(": wBytesPerInterval %1 does not fit.").arg(companion.wBytesPerInterval));
    }

    static QString hex(int address) { return QStringLiteral("0x%1").arg(address, 2, 16, QLatin1Char('0')); }

    const DeviceDescriptors& m_device;
    bool m_isSuper;
    QString m_place; // what is being checked, as sentences begin
    std::set<int> m_addresses;
    std::vector<QString> m_faults;
};

} // namespace

std::vector<QString> faultsOf(const DeviceDescriptors& device)
{
    return Checker(device).run();
}

std::vector<QString> faultsOfBytes(const QByteArray& deviceBytes, const QByteArray& configurationBytes, Speed speed)
{
    ParsedDescriptors parsed = parseDescriptors(deviceBytes, configurationBytes, speed);
    const std::vector<QString> more = faultsOf(parsed.device);
    parsed.faults.insert(parsed.faults.end(), more.begin(), more.end());
    return parsed.faults;
}

} // namespace usb
