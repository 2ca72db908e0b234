#include "capture/channel/capture_client.h"
#include "emulation/channels/capture_server.h"
#include "emulation/link/device_link.h"
#include "emulation/link/local_device.h"
#include "tests/emulation/scripted_function.h"
#include "tests/support/suite_registry.h"
#include "tests/support/usbip_host.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QtTest>

namespace {

constexpr std::uint32_t kDeviceNumber = 3;
constexpr std::uint32_t kDeviceId = usbIpDeviceId(kDeviceNumber);

QString lineOf(const UsbIPPacketInfo& packet)
{
    return QStringLiteral("%1 %2%3 type %4 endpoint %5 %6 length %7 data %8%9")
        .arg(packet.isRequest ? QStringLiteral("REQ") : QStringLiteral("REP"))
        .arg(packet.command)
        .arg(packet.isUnlink ? QStringLiteral(" unlink") : QString())
        .arg(packet.transferType)
        .arg(packet.endpoint)
        .arg(packet.direction != 0 ? QStringLiteral("in") : QStringLiteral("out"))
        .arg(packet.transferLength)
        .arg(packet.data.size())
        .arg(packet.setupData.isEmpty() ? QString()
                                        : QStringLiteral(" setup ") + QLatin1String(packet.setupData.toHex()));
}

} // namespace

/// The capture channel of a device process, with a device and a host on either side of its link.
class DeviceProcessTest : public QObject
{
    Q_OBJECT

private slots:
    void servesEveryCommand()
    {
        startDevice();
        QSignalSpy started(m_client.get(), &UsbIPCaptureClient::captureStarted);
        QSignalSpy stopped(m_client.get(), &UsbIPCaptureClient::captureStopped);
        QSignalSpy cleared(m_client.get(), &UsbIPCaptureClient::captureCleared);
        QSignalSpy stats(m_client.get(), &UsbIPCaptureClient::statsUpdated);
        QSignalSpy configs(m_client.get(), &UsbIPCaptureClient::deviceConfigReceived);
        QSignalSpy errors(m_client.get(), &UsbIPCaptureClient::connectionError);

        QVERIFY(m_client->requestDeviceConfig());
        QTRY_COMPARE(configs.count(), 1);
        const QJsonObject config = configs[0][0].toJsonObject();
        QCOMPARE(config.value(QLatin1String("configDescriptor"))[QLatin1String("bMaxPower")].toInt(), 100);
        const QJsonArray settings =
            config.value(QLatin1String("interfaces"))[0][QLatin1String("alternateSettings")].toArray();
        QCOMPARE(settings.size(), 2);
        QCOMPARE(settings[1][QLatin1String("descriptor")][QLatin1String("bInterfaceClass")].toString(),
                 QStringLiteral("0xff"));
        QCOMPARE(settings[1][QLatin1String("endpoints")][2][QLatin1String("bEndpointAddress")].toString(),
                 QStringLiteral("0x83"));

        m_host->control("8006000100001200"); // before capture runs: not told
        QVERIFY(m_client->startCapture());
        QTRY_COMPARE(started.count(), 1);
        QCOMPARE(started[0][0].value<std::uint32_t>(), kDeviceId);
        m_host->control("8006000100001200");
        QVERIFY(m_client->requestStats());
        QTRY_VERIFY(stats.count() > 0 && stats.last()[0].value<CaptureStats>().total_packets == 2);
        QCOMPARE(stats.last()[0].value<CaptureStats>().request_packets, 1U);
        QVERIFY(m_client->stopCapture());
        QTRY_COMPARE(stopped.count(), 1);
        m_host->control("8006000100001200");
        QVERIFY(m_client->clearCapture());
        QTRY_COMPARE(cleared.count(), 1);
        QCOMPARE(m_client->packets(kDeviceId).size(), std::size_t(2));

        const int before = errors.count();
        QTest::ignoreMessage(QtWarningMsg, "Error received from server: \"Not a command\"");
        QVERIFY(m_client->sendCommand(QStringLiteral("dance"), {}));
        QTRY_COMPARE(errors.count(), before + 1);
        QVERIFY(m_client->isConnected());
    }

    void tellsWhatPassesTheLink()
    {
        startDevice();
        QSignalSpy started(m_client.get(), &UsbIPCaptureClient::captureStarted);
        QVERIFY(m_client->startCapture());
        QTRY_COMPARE(started.count(), 1);
        m_host->control("8006000100001200");
        m_host->control("0009010000000000");
        usbip::Submit in;
        in.endpoint = 1;
        in.in = true;
        in.length = 512;
        const std::uint32_t pending = m_host->submit(in);
        m_host->unlink(pending);
        m_host->next();
        in.interval = 4; // only interrupt endpoints have one here
        m_host->submit(in);
        QTRY_COMPARE(m_function->waiting.size(), std::size_t(2));
        m_function->waiting[1]->completeIn("abc");
        m_host->next();
        QTRY_COMPARE(m_client->packets(kDeviceId).size(), std::size_t(9));

        QStringList lines;
        for (const UsbIPPacketInfo& packet : m_client->packets(kDeviceId)) {
            lines << lineOf(packet);
            QCOMPARE(packet.usbipHeader.size(), 48);
        }
        QCOMPARE(lines.join(QLatin1Char('\n')),
                 QStringLiteral("REQ 1 type 0 endpoint 0 in length 18 data 0 setup 8006000100001200\n"
                                "REP 3 type 0 endpoint 0 in length 18 data 18\n"
                                "REQ 1 type 0 endpoint 0 out length 0 data 0 setup 0009010000000000\n"
                                "REP 3 type 0 endpoint 0 out length 0 data 0\n"
                                "REQ 1 type 2 endpoint 1 in length 512 data 0\n"
                                "REQ 2 unlink type 2 endpoint 1 in length 0 data 0\n"
                                "REP 4 unlink type 2 endpoint 1 in length 0 data 0\n"
                                "REQ 1 type 3 endpoint 1 in length 512 data 0\n"
                                "REP 3 type 3 endpoint 1 in length 3 data 3"));
    }

    void cutsLongDataAndTellsTheirLength()
    {
        startDevice();
        QSignalSpy started(m_client.get(), &UsbIPCaptureClient::captureStarted);
        QVERIFY(m_client->startCapture());
        QTRY_COMPARE(started.count(), 1);
        m_host->control("0009010000000000");
        usbip::Submit out;
        out.endpoint = 2;
        out.length = 100'000;
        out.data = QByteArray(100'000, 'x');
        m_host->submit(out);
        QTRY_COMPARE(m_client->packets(kDeviceId).size(), std::size_t(3));
        const UsbIPPacketInfo& packet = m_client->packets(kDeviceId)[2];
        QCOMPARE(packet.data, QByteArray(65535, 'x'));
        QCOMPARE(packet.transferLength, 100'000U);
    }

private:
    void startDevice()
    {
        m_host.reset();
        m_link.reset();
        m_function = std::make_unique<ScriptedFunction>();
        m_device = std::make_unique<LocalDevice>(*m_function);
        const qint64 processId = QCoreApplication::applicationPid();
        m_server.reset();
        m_server = std::make_unique<CaptureServer>(processId, kDeviceId, m_device.get());
        QCOMPARE(m_server->start(), QString());
        m_link = std::make_unique<DeviceLink>(*m_device, kDeviceNumber, m_server.get(), HostChoice::Server);
        m_link->plugIn();
        m_client = std::make_unique<UsbIPCaptureClient>();
        m_client->setServerName(UsbIPCaptureClient::serverNameOf(processId));
        m_client->connectToServer();
        QTRY_VERIFY(m_client->isConnected());
        m_host = std::make_unique<tests::UsbIpHost>(quint16(m_link->state().port));
        QCOMPARE(m_host->import(QStringLiteral("1-1")), usbip::OperationStatus::Ok);
    }

    std::unique_ptr<ScriptedFunction> m_function;
    std::unique_ptr<LocalDevice> m_device;
    std::unique_ptr<CaptureServer> m_server;
    std::unique_ptr<DeviceLink> m_link;
    std::unique_ptr<UsbIPCaptureClient> m_client;
    std::unique_ptr<tests::UsbIpHost> m_host;
};

PLUGBOARD_SUITE(DeviceProcessTest)
#include "device_process_test.moc"
