#include "emulation/link/device_link.h"
#include "emulation/link/host_connection.h"
#include "emulation/link/local_device.h"
#include "emulation/link/message_parser.h"
#include "emulation/link/operation_session.h"
#include "emulation/link/own_server.h"
#include "emulation/link/remote_device.h"
#include "tests/emulation/scripted_function.h"
#include "tests/support/suite_registry.h"
#include "tests/support/usbip_host.h"

#include <QTcpServer>
#include <QtEndian>
#include <QtTest>

using tests::UsbIpHost;

/// A device behind our server, and a host that speaks the protocol's bytes.
class LinkTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void listsAndImportsOneAtATime();
    void enumeratesAndMovesData();
    void takesBackOrHasAnswered();
    void carriesIsochronousDataWithoutGaps();
    void endsTheConnectionOfABadHost_data();
    void endsTheConnectionOfABadHost();
    void boundsWhatIsInFlight();
    void parsesPiecesOfAnySize();
    void resetsTheDeviceWhenTheHostIsGone();
    void waitsForDataInPiecesAndForTheirEnd();
    void takesTheNextFreePort();
    void handsOnAnotherMachinesDevice();
    void neverImportsFromAServerOfOurs();
    void saysWhyARemoteDeviceIsMissing_data();
    void saysWhyARemoteDeviceIsMissing();

private:
    quint16 port() const { return quint16(m_link->state().port); }
    usbip::Submit transfer(std::uint8_t endpoint, bool in, std::uint32_t length);

    std::unique_ptr<ScriptedFunction> m_function;
    std::unique_ptr<LocalDevice> m_device;
    std::unique_ptr<DeviceLink> m_link;
};

namespace {

const QString kBusId = QStringLiteral("1-1");
constexpr std::uint32_t kDeviceNumber = 7;

} // namespace

void LinkTest::init()
{
    m_link.reset();
    m_function = std::make_unique<ScriptedFunction>();
    m_device = std::make_unique<LocalDevice>(*m_function);
    m_link = std::make_unique<DeviceLink>(*m_device, kDeviceNumber, nullptr, HostChoice::Server);
    m_link->plugIn();
    QCOMPARE(m_link->state().way, HostState::Way::Server);
}

usbip::Submit LinkTest::transfer(std::uint8_t endpoint, bool in, std::uint32_t length)
{
    usbip::Submit submit;
    submit.endpoint = endpoint;
    submit.in = in;
    submit.length = length;
    if (!in)
        submit.data = QByteArray(int(length), 'o');
    return submit;
}

void LinkTest::listsAndImportsOneAtATime()
{
    const auto listed = [this] {
        UsbIpHost host(port());
        host.write(usbip::listRequest());
        QString fault;
        const QByteArray answer = host.read(usbip::kOperationSize + 4 + usbip::kSummarySize + 4);
        const auto devices = usbip::parseList(answer.mid(usbip::kOperationSize), fault);
        return devices ? *devices : std::vector<usbip::DeviceSummary>();
    };
    const auto devices = listed();
    QCOMPARE(devices.size(), std::size_t(1));
    QCOMPARE(devices[0].busId, kBusId);
    QVERIFY(isOwnServerPath(devices[0].path));
    QCOMPARE(devices[0].idVendor, std::uint16_t(0x1D6B));
    QCOMPARE(devices[0].interfaces.at(0).bInterfaceClass, std::uint8_t(0xFF));

    UsbIpHost unknown(port());
    QCOMPARE(unknown.import(QStringLiteral("2-1")), usbip::OperationStatus::NoDevice);
    UsbIpHost first(port());
    usbip::DeviceSummary summary;
    QCOMPARE(first.import(kBusId, &summary), usbip::OperationStatus::Ok);
    QCOMPARE(summary.deviceId(), usbIpDeviceId(kDeviceNumber));
    QVERIFY(m_link->state().isAttached);
    UsbIpHost second(port());
    QCOMPARE(second.import(kBusId), usbip::OperationStatus::Busy);
    QVERIFY(listed().empty());
    m_link->unplug();
    QVERIFY(first.isEnded());
    m_link->plugIn();
    QCOMPARE(UsbIpHost(port()).import(kBusId), usbip::OperationStatus::Ok);
}

void LinkTest::enumeratesAndMovesData()
{
    UsbIpHost host(port());
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    QCOMPARE(host.control("8006000100001200").data.size(), 18);
    QCOMPARE(host.control("8006000600ff0a00").actualLength, 10U);
    QCOMPARE(host.control("8006000700000900").status, usbip::status::kStall);
    QVERIFY(!m_link->state().isConfigured);
    QCOMPARE(host.control("0009010000000000").status, 0);
    QTRY_VERIFY(m_link->state().isConfigured);

    host.submit(transfer(2, false, 300'000)); // in many pieces
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(1));
    QCOMPARE(m_function->waiting[0]->request().data, QByteArray(300'000, 'o'));
    m_function->waiting[0]->complete();
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).actualLength, 300'000U);

    usbip::Submit strict = transfer(1, true, 200'000);
    strict.flags = usbip::kShortNotOk;
    host.submit(transfer(1, true, 200'000));
    host.submit(strict);
    host.submit(transfer(5, true, 64)); // no such endpoint
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(3));
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).status, usbip::status::kNoAnswer);
    m_function->waiting[1]->completeIn(QByteArray(150'000, 'i'));
    const auto reply = std::get<usbip::SubmitReply>(host.next());
    QCOMPARE(reply.data, QByteArray(150'000, 'i'));
    QCOMPARE(reply.status, usbip::status::kOk);
    m_function->waiting[2]->completeIn("i");
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).status, usbip::status::kShort);
}

void LinkTest::takesBackOrHasAnswered()
{
    UsbIpHost host(port());
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    host.control("0009010000000000");
    const std::uint32_t unlink = host.unlink(host.submit(transfer(1, true, 64)));
    const auto taken = std::get<usbip::UnlinkReply>(host.next());
    QCOMPARE(taken.sequence, unlink);
    QCOMPARE(taken.status, usbip::status::kConnectionReset);
    QVERIFY(m_function->log.contains(QStringLiteral("cancelled 81")));
    m_function->waiting[0]->completeIn("late"); // the host must not hear of it again

    const std::uint32_t answered = host.submit(transfer(1, true, 64));
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(2));
    m_function->waiting[1]->completeIn("x");
    host.unlink(answered);
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).sequence, answered);
    QCOMPARE(std::get<usbip::UnlinkReply>(host.next()).status, usbip::status::kOk);

    host.unlinkEarly(tests::controlSubmit("8006000100001200"));
    QCOMPARE(std::get<usbip::UnlinkReply>(host.next()).status, usbip::status::kConnectionReset);
    QCOMPARE(host.control("8008000000000100").data, QByteArray(1, 1)); // and no answer to the submission before it
}

void LinkTest::carriesIsochronousDataWithoutGaps()
{
    UsbIpHost host(port());
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    host.control("0009010000000000");
    host.control("010b010000000000");
    usbip::Submit submit = transfer(3, true, 3072);
    submit.packets = {{0, 1024, 0, 0}, {1024, 1024, 0, 0}, {2048, 1024, 0, 0}};
    submit.packetCount = 3;
    host.submit(submit);
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(1));
    m_function->waiting[0]->completeIsochronous(
        {{0, 1024, 2, usb::Status::Ok}, {1024, 1024, 0, usb::Status::NoAnswer}, {2048, 1024, 3, usb::Status::Ok}},
        "abcde");
    const auto reply = std::get<usbip::SubmitReply>(host.next());
    QCOMPARE(reply.data, QByteArray("abcde"));
    QCOMPARE(reply.actualLength, 5U);
    QCOMPARE(reply.packetCount, 3);
    QCOMPARE(reply.errorCount, 1U);
    QCOMPARE(reply.packets[2].offset, 2048U);
    QCOMPARE(reply.packets[2].actual, 3U);
    QCOMPARE(reply.packets[1].status, usbip::status::kNoAnswer);
}

void LinkTest::endsTheConnectionOfABadHost_data()
{
    QTest::addColumn<bool>("imported");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("logged");
    const auto words = [](std::initializer_list<quint32> list) {
        QByteArray bytes(48, '\0');
        int at = 0;
        for (const quint32 word : list)
            qToBigEndian(word, bytes.data() + 4 * at++);
        return bytes;
    };
    const quint32 id = usbIpDeviceId(kDeviceNumber);
    QTest::newRow("another version") << false << QByteArray::fromHex("0110800500000000")
                                     << "a client speaks version 0110";
    QTest::newRow("unknown operation") << false << QByteArray::fromHex("0111800900000000")
                                       << "a client asked for the unknown operation 32777";
    QTest::newRow("unknown command") << true << words({9, 1, id}) << "the host sent the unknown command 9";
    QTest::newRow("a reply") << true << words({3, 1, id}) << "the host sent the unknown command 3";
    QTest::newRow("another device") << true << words({1, 1, id + 1, 1, 1, 0, 8})
                                    << "the host submitted to device 65544";
    QTest::newRow("endpoint 16") << true << words({1, 1, id, 1, 16, 0, 8})
                                 << "the host submitted to endpoint 16, direction 1";
    QTest::newRow("a third direction") << true << words({1, 1, id, 2, 1, 0, 8})
                                       << "the host submitted to endpoint 1, direction 2";
    QTest::newRow("transfer of 16 MiB and a byte")
        << true << words({1, 1, id, 0, 2, 0, (16 << 20) + 1}) << "the host submitted a transfer of 16777217 bytes";
    QTest::newRow("packets without end") << true << words({1, 1, id, 1, 1, 0, 8, 0, 0x7FFFFFFF})
                                         << "the host submitted a transfer of 2147483647 packets";
    QTest::newRow("packets below none") << true << words({1, 1, id, 1, 1, 0, 8, 0, 0x80000000})
                                        << "the host submitted a transfer of 2147483648 packets";
    QTest::newRow("sequence twice") << true << words({1, 9, id, 1, 1, 0, 8}) + words({1, 9, id, 1, 1, 0, 8})
                                    << "the host used sequence 9 twice";
}

void LinkTest::endsTheConnectionOfABadHost()
{
    QFETCH(bool, imported);
    QFETCH(QByteArray, bytes);
    UsbIpHost host(port());
    if (imported) {
        QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
        QCOMPARE(host.control("0009010000000000").status, 0);
    }
    QFETCH(QString, logged);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("Connection closed: ") + logged));
    host.write(bytes);
    QVERIFY(host.isEnded());
    UsbIpHost next(port());
    QTRY_VERIFY(!m_link->state().isAttached);
    QCOMPARE(next.import(kBusId), usbip::OperationStatus::Ok); // no harm done
}

void LinkTest::boundsWhatIsInFlight()
{
    UsbIpHost host(port());
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    host.control("0009010000000000");
    host.submit(transfer(1, true, usbip::kLargestTransfer));
    host.submit(transfer(1, true, 1));
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).status, usbip::status::kNoMemory);
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(1));
    m_function->waiting[0]->completeIn("x");
    host.next();
    host.submit(transfer(1, true, 1)); // there is room again
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(2));
}

void LinkTest::parsesPiecesOfAnySize()
{
    usbip::Submit out;
    out.sequence = 1;
    out.endpoint = 2;
    out.length = 10'000;
    out.data = QByteArray(10'000, 'o');
    usbip::Submit isochronous;
    isochronous.sequence = 2;
    isochronous.endpoint = 3;
    isochronous.in = true;
    isochronous.length = 2048;
    isochronous.packetCount = 2;
    isochronous.packets = {{0, 1024, 0, 0}, {1024, 1024, 0, 0}};
    QByteArray stream;
    for (int round = 0; round < 3; ++round) {
        for (const usbip::Submit& submit : {out, isochronous})
            stream += tests::bytesOf(submit);
        stream += tests::bytesOf(usbip::Unlink{3, 0, 1});
    }
    for (const int piece : {1, 7, 47, 48, 49, 4096, 100'000}) {
        usbip::MessageParser parser;
        QStringList found;
        for (int offset = 0; offset < stream.size();) {
            int left = std::min(piece, stream.size() - offset);
            std::size_t written = 0;
            for (const usbip::Room& room : parser.room()) {
                const int size = std::min(left, int(room.size));
                std::copy_n(stream.constData() + offset, size, room.data);
                offset += size;
                left -= size;
                written += std::size_t(size);
            }
            parser.advance(written);
            while (const auto message = parser.next()) {
                if (const auto* submit = std::get_if<usbip::Submit>(&*message))
                    found << QStringLiteral("%1:%2:%3")
                                 .arg(submit->sequence)
                                 .arg(submit->data.count('o'))
                                 .arg(submit->packets.size());
                else
                    found << QStringLiteral("unlink %1").arg(std::get<usbip::Unlink>(*message).victim);
            }
        }
        const QString round = QStringLiteral("1:10000:0 2:0:2 unlink 1");
        QCOMPARE(found.join(QLatin1Char(' ')), QStringList({round, round, round}).join(QLatin1Char(' ')));
    }
}

void LinkTest::resetsTheDeviceWhenTheHostIsGone()
{
    {
        UsbIpHost host(port());
        QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
        host.control("0009010000000000");
        host.submit(transfer(1, true, 64));
        QTRY_COMPARE(m_function->waiting.size(), std::size_t(1));
        m_function->log.clear();
    }
    QTRY_VERIFY(!m_link->state().isAttached);
    QVERIFY(!m_link->state().isConfigured);
    QCOMPARE(m_function->log.join(QStringLiteral(", ")), QStringLiteral("cancelled 81, reset"));
    m_function->waiting[0]->completeIn("nobody reads it");
}

/// While much of a transfer is missing the device need not wake for every piece; it must for the last one, for what
/// follows it however small, and for a host that goes before.
void LinkTest::waitsForDataInPiecesAndForTheirEnd()
{
    UsbIpHost host(port());
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    host.control("0009010000000000");
    usbip::Submit submit = transfer(2, false, 400'000);
    submit.sequence = 100;
    submit.deviceId = usbIpDeviceId(kDeviceNumber);
    for (int round = 0; round < 2; ++round, ++submit.sequence) {
        const QByteArray bytes = tests::bytesOf(submit);
        for (int at = 0; at < bytes.size(); at += 1460) {
            host.write(bytes.mid(at, 1460));
            host.socket().flush();
            if (at % 14600 == 0)
                QCoreApplication::processEvents();
        }
        QTRY_COMPARE(m_function->waiting.size(), std::size_t(round + 1));
        QCOMPARE(m_function->waiting.back()->request().data, submit.data);
    }
    QCOMPARE(host.control("8006000100001200").data.size(), 18);

    host.write(tests::bytesOf(submit).left(200'000));
    QTRY_COMPARE(host.socket().bytesToWrite(), 0);
    host.socket().disconnectFromHost();
    QTRY_VERIFY(!m_link->state().isAttached);
    QCOMPARE(m_function->waiting.size(), std::size_t(2));
}

void LinkTest::takesTheNextFreePort()
{
    ScriptedFunction function;
    LocalDevice device(function);
    DeviceLink second(device, 8, nullptr, HostChoice::Server);
    second.plugIn();
    QCOMPARE(second.state().way, HostState::Way::Server);
    QVERIFY(second.state().port > port());
}

namespace {

/// The server of another machine: answers a list and an import, and then lets the function answer.
class ForeignServer final : public QTcpServer
{
public:
    explicit ForeignServer(LocalDevice& device) : m_device(device) { listen(QHostAddress::LocalHost); }

    void loseHost() { m_connection.reset(); }
    bool hasHost() const { return m_connection != nullptr; }
    RemoteAddress address() const { return {QHostAddress(QHostAddress::LocalHost), serverPort(), kBusId}; }

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* session = new OperationSession(StreamSocket(descriptor), this);
        session->serve({[this] { return devices(); }, [](const QString&) { return false; },
                        [this](StreamSocket socket) {
                            m_connection = std::make_unique<HostConnection>(
                                std::move(socket), m_device, devices()[0].deviceId(), nullptr,
                                HostConnection::Events{[](bool) {}, [this] { m_connection.reset(); }});
                        },
                        [session](const QString&) { session->deleteLater(); }});
    }

private:
    std::vector<usbip::DeviceSummary> devices() const
    {
        usbip::DeviceSummary summary = m_device.summary();
        summary.path = QStringLiteral("/sys/devices/pci0000:00/usb1/1-1");
        summary.busId = kBusId;
        summary.busNumber = 3;
        summary.deviceNumber = 9;
        return {summary};
    }

    LocalDevice& m_device;
    std::unique_ptr<HostConnection> m_connection;
};

} // namespace

void LinkTest::handsOnAnotherMachinesDevice()
{
    ForeignServer server(*m_device);
    int comings = 0;
    RemoteDevice remote(server.address(), [&](bool isThere) { comings += isThere ? 1 : 0; });
    DeviceLink link(remote, 8, nullptr, HostChoice::Server);
    remote.start();
    QTRY_COMPARE(comings, 1);
    QCOMPARE(remote.summary().idVendor, std::uint16_t(0x1D6B));
    link.plugIn();
    UsbIpHost host(quint16(link.state().port));
    QCOMPARE(host.import(kBusId), usbip::OperationStatus::Ok);
    QCOMPARE(host.control("8006000100001200").data.size(), 18);
    QVERIFY(remote.configurationDescriptor().isEmpty());
    const QByteArray configuration = host.control("800600020000ff00").data;
    QCOMPARE(remote.configurationDescriptor(), configuration);
    host.control("0009010000000000");
    QTRY_VERIFY(link.state().isConfigured);
    host.control("010b010000000000");

    host.submit(transfer(2, false, 100'000));
    usbip::Submit isochronous = transfer(3, true, 2048);
    isochronous.packets = {{0, 1024, 0, 0}, {1024, 1024, 0, 0}};
    isochronous.packetCount = 2;
    host.submit(isochronous);
    const std::uint32_t pending = host.submit(transfer(1, true, 64));
    QTRY_COMPARE(m_function->waiting.size(), std::size_t(3));
    QCOMPARE(m_function->waiting[0]->request().data, QByteArray(100'000, 'o'));
    m_function->waiting[0]->complete();
    QCOMPARE(std::get<usbip::SubmitReply>(host.next()).actualLength, 100'000U);
    m_function->waiting[1]->completeIsochronous({{0, 1024, 1, {}}, {1024, 1024, 2, {}}}, "abc");
    const auto packets = std::get<usbip::SubmitReply>(host.next());
    QCOMPARE(packets.data, QByteArray("abc"));
    QCOMPARE(packets.packets.at(1).actual, 2U);
    host.unlink(pending);
    QCOMPARE(std::get<usbip::UnlinkReply>(host.next()).status, usbip::status::kConnectionReset);

    // The host goes: the device is fetched anew, as it is after power-on.
    link.unplug();
    QTRY_COMPARE(comings, 2);
    QCOMPARE(m_function->log.last(), QStringLiteral("reset"));
    // The server goes: the device is gone, and is tried again.
    QTRY_VERIFY(server.hasHost());
    server.loseHost();
    QTRY_VERIFY(!remote.fault().isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(comings, 3, 20000);
}

void LinkTest::neverImportsFromAServerOfOurs()
{
    QString fault;
    RemoteDevice remote({QHostAddress(QHostAddress::LocalHost), port(), kBusId}, [&](bool isThere) {
        QVERIFY(!isThere);
        fault = remote.fault();
    });
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Plugboard's own")));
    remote.start();
    QTRY_COMPARE(fault, QStringLiteral("the server is Plugboard's own on this machine"));
    QVERIFY(!m_link->state().isAttached);
    QVERIFY(m_function->log.isEmpty());
}

void LinkTest::saysWhyARemoteDeviceIsMissing_data()
{
    QTest::addColumn<QByteArray>("answer"); // of the server
    QTest::addColumn<QString>("fault");
    QTest::newRow("another protocol") << QByteArray("HTTP/1.1 400 Bad Request") << "the server speaks another protocol";
    QTest::newRow("no such device") << usbip::listReply({}) << "the server does not offer bus id 1-1";
    QTest::newRow("devices without end") << usbip::operationBytes(usbip::Operation::ListReply) + "\xff\xff\xff\xff"
                                         << "the server tells of 4294967295 devices";
    QTest::newRow("list that ends early") << usbip::operationBytes(usbip::Operation::ListReply) + QByteArray(3, '\0')
                                          << "the server closed the connection";
}

void LinkTest::saysWhyARemoteDeviceIsMissing()
{
    QFETCH(QByteArray, answer);
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    connect(&server, &QTcpServer::newConnection, &server, [&] {
        QTcpSocket* socket = server.nextPendingConnection();
        socket->write(answer);
        socket->disconnectFromHost();
    });
    QString fault;
    RemoteDevice remote({QHostAddress(QHostAddress::LocalHost), server.serverPort(), kBusId},
                        [&](bool) { fault = remote.fault(); });
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("The remote device is not there")));
    remote.start();
    QTRY_VERIFY(!fault.isEmpty());
    QTEST(fault, "fault");
}

PLUGBOARD_SUITE(LinkTest)
#include "link_test.moc"
