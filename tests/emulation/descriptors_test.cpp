#include "emulation/usb/descriptors.h"
#include "tests/emulation/scripted_function.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

Q_DECLARE_METATYPE(std::function<void(usb::DeviceDescriptors&)>)

namespace {

QString joined(const std::vector<QString>& faults)
{
    return QStringList(faults.begin(), faults.end()).join(QLatin1Char(' '));
}

} // namespace

/// Each planted fault is named; many of them a host repairs without a word.
class DescriptorsTest : public QObject
{
    Q_OBJECT

private slots:
    void travelAsTheyAreMade()
    {
        for (const usb::Speed speed : {usb::Speed::High, usb::Speed::Super}) {
            usb::DeviceDescriptors device = scriptedDescriptors(speed);
            device.bDeviceClass = 0xEF;
            device.bDeviceSubClass = 2;
            device.bDeviceProtocol = 1;
            device.configuration.associations = {{0, 1, 0xFF, 0, 0, QStringLiteral("All")}};
            device.configuration.interfaces[0].alternates[1].classDescriptors = {
                usb::DescriptorWriter(0x24).u8(1).u24(0x020304).u32(5).take()};
            device.configuration.interfaces[0].alternates[1].endpoints[2].classDescriptors = {
                usb::DescriptorWriter(0x25).u16(0x0100).bytes("xyz").take()};
            QCOMPARE(joined(usb::faultsOf(device)), QString());
            const QByteArray configuration = usb::configurationDescriptor(device);
            QCOMPARE(joined(usb::faultsOfBytes(usb::deviceDescriptor(device), configuration, speed)), QString());
            QVERIFY(configuration.contains(QByteArray::fromHex("0a240104030205000000")));
            QVERIFY(configuration.contains(QByteArray::fromHex("07250001"
                                                               "78797a")));
        }
    }

    void namesFaultsOfTheSet_data()
    {
        using Change = std::function<void(usb::DeviceDescriptors&)>;
        QTest::addColumn<bool>("isSuper");
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("fault");
        const auto addRow = [](const char* name, bool isSuper, const char* fault, const Change& change) {
            QTest::newRow(name) << isSuper << change << QString::fromUtf8(fault);
        };
        const auto endpoint = [](usb::DeviceDescriptors& device, std::size_t index) -> usb::Endpoint& {
            return device.configuration.interfaces[0].alternates[1].endpoints[index];
        };
        addRow("bulk packets of 64 at high speed", false, "a packet of 64 bytes does not fit",
               [=](auto& device) { endpoint(device, 0).maxPacketSize = 64; });
        addRow("bulk packets of 512 at SuperSpeed", true, "a packet of 512 bytes does not fit",
               [=](auto& device) { endpoint(device, 0).maxPacketSize = 512; });
        addRow("interval 0", false, "bInterval 0 does not fit",
               [=](auto& device) { endpoint(device, 2).bInterval = 0; });
        addRow("interval as at full speed", false, "bInterval 32 does not fit",
               [=](auto& device) { endpoint(device, 2).bInterval = 32; });
        addRow("three transactions of too few bytes", false, "3 transactions in an interval do not fit",
               [=](auto& device) {
                   endpoint(device, 2).transactionsPerInterval = 3;
                   endpoint(device, 2).maxPacketSize = 600;
               });
        addRow("companion missing", true, "has no companion",
               [=](auto& device) { endpoint(device, 1).companion.reset(); });
        addRow("companion too much", false, "has a companion below SuperSpeed",
               [=](auto& device) { endpoint(device, 1).companion.emplace(); });
        addRow("bytes per interval missing", true, "wBytesPerInterval 0 does not fit",
               [=](auto& device) { endpoint(device, 2).companion->wBytesPerInterval = 0; });
        addRow("burst of 17", true, "bMaxBurst is above 15",
               [=](auto& device) { endpoint(device, 0).companion->bMaxBurst = 16; });
        addRow("bandwidth in setting 0", false, "setting 0 must not reserve isochronous bandwidth", [=](auto& device) {
            device.configuration.interfaces[0].alternates[0].endpoints.push_back(endpoint(device, 2));
        });
        addRow("endpoint twice", false, "is there twice",
               [=](auto& device) { endpoint(device, 1).bEndpointAddress = 0x81; });
        addRow("endpoint of two interfaces", false, "Two interfaces have endpoint 0x81", [](auto& device) {
            usb::Interface more = device.configuration.interfaces[0];
            more.bInterfaceNumber = 1;
            device.configuration.interfaces.push_back(more);
        });
        addRow("interface numbers with a gap", false, "Interface 2 stands where interface 0 should",
               [](auto& device) { device.configuration.interfaces[0].bInterfaceNumber = 2; });
        addRow("settings with a gap", false, "stands where setting 1 should",
               [](auto& device) { device.configuration.interfaces[0].alternates[1].bAlternateSetting = 2; });
        addRow("association of what is not there", false, "covers interfaces that are not there", [](auto& device) {
            device.configuration.associations = {{0, 2, 0xFF, 0, 0, {}}};
        });
        addRow("association without the device's class", false, "class is not EF, 02, 01", [](auto& device) {
            device.configuration.associations = {{0, 1, 0xFF, 0, 0, {}}};
        });
        addRow("power beyond the bus", false, "600 mA cannot be said",
               [](auto& device) { device.configuration.maxPower = 600; });
        addRow("version of another speed", true, "bcdUSB 0200 does not fit",
               [](auto& device) { device.bcdUSB = 0x0200; });
        addRow("version that is no decimal", false, "bcdUSB 020a does not fit",
               [](auto& device) { device.bcdUSB = 0x020A; });
    }

    void namesFaultsOfTheSet()
    {
        QFETCH(bool, isSuper);
        QFETCH(std::function<void(usb::DeviceDescriptors&)>, change);
        QFETCH(QString, fault);
        usb::DeviceDescriptors device = scriptedDescriptors(isSuper ? usb::Speed::Super : usb::Speed::High);
        change(device);
        const QString found = joined(usb::faultsOf(device));
        QVERIFY2(found.contains(fault), qPrintable(found));
        // They are found as well once the descriptors are bytes.
        const QString inBytes = joined(
            usb::faultsOfBytes(usb::deviceDescriptor(device), usb::configurationDescriptor(device), device.speed));
        QVERIFY2(inBytes.contains(fault) || fault.contains(QStringLiteral("mA")), qPrintable(inBytes));
    }

    void namesFaultsOfBytes_data()
    {
        QTest::addColumn<int>("offset"); // in the device descriptor, then the configuration
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("fault");
        QTest::newRow("control packets of 7") << 7 << 7 << "bMaxPacketSize0 is 7";
        QTest::newRow("two configurations") << 17 << 2 << "bNumConfigurations is 2";
        QTest::newRow("total of 200") << 20 << 200 << "wTotalLength is 200";
        QTest::newRow("interface missing") << 22 << 2 << "bNumInterfaces is 2";
        QTest::newRow("attributes without bit 7") << 25 << 0 << "bit 7 is set";
        QTest::newRow("endpoint missing") << 18 + 9 + 4 << 3 << "bNumEndpoints is 3";
        QTest::newRow("length beyond the end") << 18 + 9 << 200 << "a length of 200";
        QTest::newRow("length of 0") << 18 + 9 + 9 << 0 << "a length of 0";
        QTest::newRow("short endpoint") << 18 + 9 + 9 << 5 << "A descriptor of an endpoint has 5 bytes";
        QTest::newRow("length of the device descriptor") << 0 << 17 << "is not one of 18 bytes";
    }

    void namesFaultsOfBytes()
    {
        QFETCH(int, offset);
        QFETCH(int, value);
        QFETCH(QString, fault);
        const usb::DeviceDescriptors device = scriptedDescriptors();
        QByteArray bytes = usb::deviceDescriptor(device) + usb::configurationDescriptor(device);
        bytes[offset] = static_cast<char>(value);
        const QString found = joined(usb::faultsOfBytes(bytes.left(18), bytes.mid(18), usb::Speed::High));
        QVERIFY2(found.contains(fault), qPrintable(found));
    }

    void cutsLongStrings()
    {
        usb::DeviceDescriptors device = scriptedDescriptors();
        device.product = QString(125, QLatin1Char('x')) + QString::fromUtf8("\U0001F50C");
        QCOMPARE(usb::stringDescriptor(device, 2, 0x0409).size(), 2 + 2 * 125); // not half of the last letter
        device.product = QString(300, QLatin1Char('x'));
        QCOMPARE(usb::stringDescriptor(device, 2, 0x0409).size(), 2 + 2 * 126);
    }
};

PLUGBOARD_SUITE(DescriptorsTest)
#include "descriptors_test.moc"
