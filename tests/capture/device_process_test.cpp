#include "capture/capture_client.h"
#include "tests/support/suite_registry.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QProcess>
#include <QSignalSpy>
#include <QtTest>

/// The capture channel of the stand-in device process, as it is beside this test. Without parameters it is a mouse.
class DeviceProcessTest : public QObject
{
    Q_OBJECT

private slots:
    void servesEveryCommand();
};

void DeviceProcessTest::servesEveryCommand()
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PLUGBOARD_CAPTURE_RATE"), QStringLiteral("0"));
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/usb-daemon.exe"),
                  {QStringLiteral("--mode"), QStringLiteral("Local")});
    QVERIFY(process.waitForStarted());
    process.closeWriteChannel();

    UsbIPCaptureClient client;
    QSignalSpy started(&client, &UsbIPCaptureClient::captureStarted);
    QSignalSpy stopped(&client, &UsbIPCaptureClient::captureStopped);
    QSignalSpy cleared(&client, &UsbIPCaptureClient::captureCleared);
    QSignalSpy packets(&client, &UsbIPCaptureClient::packetCaptured);
    QSignalSpy stats(&client, &UsbIPCaptureClient::statsUpdated);
    QSignalSpy configs(&client, &UsbIPCaptureClient::deviceConfigReceived);
    QSignalSpy errors(&client, &UsbIPCaptureClient::connectionError);
    client.setServerName(UsbIPCaptureClient::serverNameOf(process.processId()));
    client.connectToServer();
    QTRY_VERIFY_WITH_TIMEOUT(client.isConnected(), 30000);

    QVERIFY(client.requestDeviceConfig());
    QTRY_COMPARE(configs.count(), 1);
    const QJsonObject config = configs[0][0].toJsonObject();
    const QJsonObject setting =
        config.value(QLatin1String("interfaces"))[0][QLatin1String("alternateSettings")][0].toObject();
    QCOMPARE(setting.value(QLatin1String("descriptor"))[QLatin1String("bInterfaceClass")].toString(),
             QStringLiteral("0x03"));
    QCOMPARE(config.value(QLatin1String("configDescriptor"))[QLatin1String("bNumInterfaces")].toInt(), 1);

    QVERIFY(client.startCapture());
    QTRY_VERIFY_WITH_TIMEOUT(packets.count() > 5000, 60000);
    QCOMPARE(started.count(), 1);
    const auto deviceId = started[0][0].value<std::uint32_t>();
    const auto& list = client.packets(deviceId);
    QCOMPARE(list[0].parsedDetails,
             QStringLiteral("INN STD TO_DEV USB_REQUEST_GET_DESCRIPTORUSB_DEVICE_DESCRIPTOR_TYPE"));
    QVERIFY(std::any_of(list.begin(), list.end(), [](const UsbIPPacketInfo& packet) { return packet.isUnlink; }));
    QVERIFY(client.stopCapture());
    QTRY_COMPARE(stopped.count(), 1);
    QVERIFY(client.requestStats());
    QTRY_VERIFY(stats.count() > 0);
    const auto counted = stats.last()[0].value<CaptureStats>();
    QCOMPARE(counted.total_packets, std::uint32_t(packets.count()));
    QCOMPARE(counted.request_packets + counted.reply_packets, counted.total_packets);

    QVERIFY(client.clearCapture());
    QTRY_COMPARE(cleared.count(), 1);
    const int before = errors.count();
    QTest::ignoreMessage(QtWarningMsg, "Error received from server: \"Not a command\"");
    QVERIFY(client.sendCommand(QStringLiteral("dance"), {}));
    QTRY_COMPARE(errors.count(), before + 1);
    QVERIFY(client.isConnected());
    client.disconnect();
    process.kill();
    process.waitForFinished();
}

PLUGBOARD_SUITE(DeviceProcessTest)
#include "device_process_test.moc"
