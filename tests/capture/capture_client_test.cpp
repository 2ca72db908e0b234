#include "capture/channel/capture_client.h"
#include "tests/capture/packet_bytes.h"
#include "tests/capture/scripted_capture_server.h"
#include "tests/support/suite_registry.h"

#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <functional>

using tests::CaptureServer;
using tests::frame;
using tests::PacketBytes;

namespace {

struct ConnectedClient
{
    CaptureServer server;
    UsbIPCaptureClient client;

    ConnectedClient()
    {
        client.setServerName(UsbIPCaptureClient::serverNameOf(server.processId()));
        client.connectToServer();
        [this] { QTRY_VERIFY(client.isConnected() && server.hasClient()); }();
    }
};

QByteArray json(const char* text)
{
    return QByteArray(text).replace('\'', '"');
}

} // namespace

class CaptureClientTest : public QObject
{
    Q_OBJECT

private slots:
    void sendsCommands()
    {
        struct Command
        {
            int type; ///< of its frame; -1 for a name that goes as a line of text
            std::function<bool(UsbIPCaptureClient&)> send;
        };
        const Command commands[] = {
            {10, &UsbIPCaptureClient::startCapture},
            {11, &UsbIPCaptureClient::stopCapture},
            {12, &UsbIPCaptureClient::clearCapture},
            {13, &UsbIPCaptureClient::requestStats},
            {14, &UsbIPCaptureClient::requestPackets},
            {15, &UsbIPCaptureClient::requestDeviceConfig},
            {-1, [](UsbIPCaptureClient& client) { return client.sendCommand(QStringLiteral("reboot"), {}); }},
        };
        ConnectedClient pair;
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        for (const Command& command : commands) {
            UsbIPCaptureClient unconnected;
            QVERIFY(!command.send(unconnected));
            QVERIFY(command.send(pair.client));
            QTRY_VERIFY(pair.server.received().size() > 8);
            QByteArray payload = pair.server.takeReceived();
            if (command.type < 0) {
                QCOMPARE(payload.indexOf('\n'), payload.size() - 1);
            } else {
                QCOMPARE(int(payload.at(0)), command.type);
                QCOMPARE(payload.mid(1, 3), QByteArray(3, '\0')); // nothing of the program's memory
                QCOMPARE(int(qFromLittleEndian<quint32>(payload.constData() + 4)), payload.size() - 8);
                payload.remove(0, 8);
                QVERIFY(!payload.contains('\n'));
            }
            const QJsonObject message = QJsonDocument::fromJson(payload).object();
            QCOMPARE(message.contains(QLatin1String("command")), command.type < 0);
            QVERIFY(message.value(QLatin1String("data")).isObject());
            const auto timestamp = qint64(message.value(QLatin1String("timestamp")).toDouble());
            QVERIFY(timestamp >= before && timestamp <= QDateTime::currentMSecsSinceEpoch());
        }
    }

    void packetsSurviveAnySlicing()
    {
        QByteArray stream;
        for (quint32 number = 0; number < 300; ++number) {
            PacketBytes packet;
            packet.sequence = number;
            packet.type = 2;
            packet.data = QByteArray(int(number * 37 % 900), char(number));
            stream += frame(1, packet.payload());
        }
        QRandomGenerator random(1);
        for (const int largest : {1, 7, 1000, 1000000}) {
            UsbIPCaptureClient client;
            for (int begin = 0; begin < stream.size();) {
                const int size = 1 + random.bounded(largest);
                client.receive(stream.mid(begin, size));
                begin += size;
            }
            const auto packets = client.packets(7);
            QCOMPARE(packets.size(), std::size_t(300));
            for (quint32 number = 0; number < 300; ++number) {
                QCOMPARE(packets[number].sequenceNumber, number);
                QCOMPARE(packets[number].data, QByteArray(int(number * 37 % 900), char(number)));
            }
        }
    }

    void longestFrameWaitsAndOneByteMoreEmptiesTheBuffer()
    {
        ConnectedClient pair;
        QSignalSpy cleared(&pair.client, &UsbIPCaptureClient::captureCleared);
        pair.server.send(frame(5, QByteArray(1048576, 'x')));
        QTRY_COMPARE_WITH_TIMEOUT(cleared.count(), 1, 20000);

        QByteArray tooLong = frame(5, {});
        tests::put(tooLong, 4, quint32(1048577));
        QTest::ignoreMessage(QtWarningMsg, "Invalid data length in binary message header");
        pair.client.receive(frame(5, {}) + tooLong + frame(5, {}));
        QCOMPARE(cleared.count(), 2); // what followed went with it
        pair.client.receive(frame(5, {}));
        QCOMPARE(cleared.count(), 3);
        QVERIFY(pair.client.isConnected());
    }

    void warnsAboutBadMessages_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QString>("warning");
        QTest::newRow("packet one byte short") << 1 << QByteArray(39, '\0') << "Invalid packet captured message size";
        QTest::newRow("statistics one byte short") << 2 << QByteArray(15, '\0') << "Invalid stats message size";
        QTest::newRow("error that is an array") << 6 << json("[1]") << "Invalid error response format";
        QTest::newRow("error of the server")
            << 6 << json("{'message':'no disk'}") << "Error received from server: \"no disk\"";
        QTest::newRow("type 7 is unknown") << 7 << QByteArray("{}") << "Unknown message type: 7";
        QTest::newRow("type 255 is unknown") << 255 << QByteArray() << "Unknown message type: 255";
        QTest::newRow("nobody waits for the result")
            << 20 << json("{'command_id':3,'success':true}") << "No callback found for command ID: 3";
        QTest::newRow("result without id") << 20 << json("{}") << "No callback found for command ID: -1";
        QTest::newRow("result") << 20 << QByteArray("x") << "Invalid command result response format";
        QTest::newRow("statistics reply") << 21 << QByteArray("4") << "Invalid stats response format";
        QTest::newRow("packets reply") << 22 << QByteArray() << "Invalid packets response format";
        QTest::newRow("configuration reply") << 23 << json("{'config'") << "Invalid device config response format";
        QTest::newRow("endless nesting") << 23 << QByteArray(100000, '[') << "Invalid device config response format";
    }

    void warnsAboutBadMessages()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, payload);
        QFETCH(QString, warning);
        UsbIPCaptureClient client;
        QSignalSpy cleared(&client, &UsbIPCaptureClient::captureCleared);
        QTest::ignoreMessage(QtWarningMsg, qPrintable(warning));
        client.receive(frame(type, payload) + frame(5, {}));
        QCOMPARE(cleared.count(), 1); // the frame was consumed, whatever it was
    }

    void readsTruncatedPackets_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("setup");
        const auto row = [](const char* name, PacketBytes bytes, int cut, const QByteArray& header,
                            const QByteArray& data, const QByteArray& setup) {
            const QByteArray payload = bytes.payload();
            QTest::newRow(name) << payload.left(payload.size() - cut) << header << data << setup;
        };
        PacketBytes whole;
        whole.header = "HHHH";
        whole.data = "DDDD";
        whole.setup = "SSSSSSSS";
        row("everything fits", whole, 0, "HHHH", "DDDD", "SSSSSSSS");
        row("fixed part alone", whole, 16, "", "", "");
        row("setup bytes cut", whole, 1, "HHHH", "DDDD", "");
        PacketBytes longHeader;
        longHeader.headerLength = 100;
        longHeader.data = "0123456789";
        longHeader.setup = "SSSSSSSS";
        row("data is read where the header that is too long would have begun", longHeader, 0, "", "0123456789",
            "SSSSSSSS");
        PacketBytes longData;
        longData.header = "HH";
        longData.dataLength = 65535;
        longData.setup = "SSSSSSSS";
        row("setup is read where the data that is too long would have begun", longData, 0, "HH", "", "SSSSSSSS");
    }

    void readsTruncatedPackets()
    {
        QFETCH(QByteArray, payload);
        UsbIPCaptureClient client;
        client.receive(frame(1, payload));
        QCOMPARE(client.packets(7).size(), std::size_t(1));
        const UsbIPPacketInfo packet = client.packets(7).front();
        QTEST(packet.usbipHeader, "header");
        QTEST(packet.data, "data");
        QTEST(packet.setupData, "setup");
    }

    void reportsReplies()
    {
        UsbIPCaptureClient client;
        QSignalSpy started(&client, &UsbIPCaptureClient::captureStarted);
        QSignalSpy stopped(&client, &UsbIPCaptureClient::captureStopped);
        QSignalSpy errors(&client, &UsbIPCaptureClient::connectionError);
        QSignalSpy stats(&client, &UsbIPCaptureClient::statsUpdated);
        client.receive(frame(3, json("{'device_id':65537}")) + frame(3, "no json") + frame(4, json("{'device_id':2}")));
        QCOMPARE(started.count(), 2);
        QCOMPARE(started[0][0].value<std::uint32_t>(), 65537U);
        QCOMPARE(started[1][0].value<std::uint32_t>(), 0U);
        QCOMPARE(stopped[0][0].value<std::uint32_t>(), 2U);

        QTest::ignoreMessage(QtWarningMsg, "Error received from server: \"busy\"");
        client.receive(frame(6, json("{'message':'busy'}")));
        QCOMPARE(errors[0][0].toString(), QStringLiteral("busy"));

        const QByteArray twenty = QByteArray::fromHex("0400000003000000020000000100000055555555");
        client.receive(frame(2, twenty) + frame(21, json("{'total_packets':9,'reply_packets':'x'}")));
        const auto binary = stats[0][0].value<CaptureStats>();
        QCOMPARE(binary.total_packets, 4U);
        QCOMPARE(binary.request_packets, 3U);
        QCOMPARE(binary.reply_packets, 2U);
        QCOMPARE(binary.unlink_packets, 1U);
        QCOMPARE(client.lastStats().total_packets, 4U); // the reply to a request is reported, not kept
        const auto reply = stats[1][0].value<CaptureStats>();
        QCOMPARE(reply.total_packets, 9U);
        QCOMPARE(reply.reply_packets, 0U);
    }

    void everyConfigurationWasAskedFor()
    {
        ConnectedClient pair;
        QSignalSpy configs(&pair.client, &UsbIPCaptureClient::deviceConfigReceived);
        const QByteArray reply = frame(23, json("{'config':{'interfaces':[]}}"));
        QTest::ignoreMessage(QtWarningMsg, "A device configuration came that nobody asked for");
        pair.client.receive(reply);
        QCOMPARE(configs.count(), 0);
        QVERIFY(pair.client.requestDeviceConfig() && pair.client.requestDeviceConfig());
        QTest::ignoreMessage(QtWarningMsg, "A device configuration came that nobody asked for");
        pair.client.receive(reply + frame(23, json("{'config':5}")) + reply);
        QCOMPARE(configs.count(), 2);
        QVERIFY(configs[0][0].toJsonObject().contains(QLatin1String("interfaces")));
        QVERIFY(configs[1][0].toJsonObject().isEmpty());
    }

    void deviceProcessCannotFillTheLog()
    {
        static qint64 s_lines;
        static qint64 s_characters;
        s_lines = s_characters = 0;
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
                ++s_lines;
                s_characters += text.size();
            });
        UsbIPCaptureClient client;
        const QByteArray error = frame(6, "{\"message\":\"" + QByteArray(50000, 'x') + "\"}");
        for (int i = 0; i < 500; ++i)
            client.receive(error + frame(77, {}) + frame(1, "short"));
        qInstallMessageHandler(previous);
        QVERIFY2(s_lines > 0 && s_lines <= 100, qPrintable(QString::number(s_lines)));
        QVERIFY2(s_characters < 100 * 300, qPrintable(QString::number(s_characters)));
    }

    void talksToTheProcessItselfOnly()
    {
        const qint64 other = CaptureServer::nextProcessId();
        CaptureServer taken(other); // the name of a process, served by this one
        UsbIPCaptureClient client;
        QSignalSpy refused(&client, &UsbIPCaptureClient::serverRefused);
        QSignalSpy errors(&client, &UsbIPCaptureClient::connectionError);
        QSignalSpy connected(&client, &UsbIPCaptureClient::connected);
        QSignalSpy disconnected(&client, &UsbIPCaptureClient::disconnected);
        connect(&client, &UsbIPCaptureClient::connected, &client, &UsbIPCaptureClient::startCapture);
        client.setServerProcess(other);
        client.connectToServer();
        QTRY_COMPARE(errors.count(), 1);
        QCOMPARE(errors[0][0].toString(), QStringLiteral("Another process serves UsbIPCaptureServer_%1").arg(other));
        QCOMPARE(refused.count(), 1);
        QVERIFY(!client.isConnected());
        QTRY_COMPARE_WITH_TIMEOUT(errors.count(), 2, 20000); // it is tried again
        QCOMPARE(taken.received(), QByteArray());
        QCOMPARE(connected.count() + disconnected.count(), 0);

        const CaptureServer own;
        client.setServerProcess(own.processId());
        QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 1, 20000);
    }

    void callbacksRunOnceAndMayReenter()
    {
        UsbIPCaptureClient client;
        QStringList calls;
        client.setCommandCallback(5, [&](bool success, const QString& message) {
            calls << QStringLiteral("%1 %2").arg(success).arg(message);
            client.setCommandCallback(6, [&](bool, const QString&) { calls << QStringLiteral("six"); });
            client.receive(frame(22, json("{'command_id':6}")));
        });
        client.receive(frame(20, json("{'command_id':5,'message':'refused'}")));
        QCOMPARE(calls, QStringList({QStringLiteral("0 refused"), QStringLiteral("six")}));
        QTest::ignoreMessage(QtWarningMsg, "No callback found for command ID: 5");
        client.receive(frame(20, json("{'command_id':5}")) + frame(22, json("{'command_id':6}")));
        QCOMPARE(calls.size(), 2);
        client.setCommandCallback(8, [&](bool success, const QString&) { calls << QString::number(success); });
        QTest::ignoreMessage(QtWarningMsg, "A device configuration came that nobody asked for");
        client.receive(frame(23, json("{'command_id':8,'success':false}")));
        QCOMPARE(calls.last(), QStringLiteral("1"));
    }

    void reconnectsAfterLossAndAfterFailure()
    {
        const qint64 id = CaptureServer::nextProcessId();
        UsbIPCaptureClient client;
        QSignalSpy errors(&client, &UsbIPCaptureClient::connectionError);
        QSignalSpy disconnected(&client, &UsbIPCaptureClient::disconnected);
        QSignalSpy connected(&client, &UsbIPCaptureClient::connected);
        client.setServerName(UsbIPCaptureClient::serverNameOf(id));
        client.connectToServer();
        QTRY_COMPARE(errors.count(), 1);
        QCOMPARE(disconnected.count(), 0);

        CaptureServer server(id);
        QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 1, 20000);
        client.connectToServer(); // nothing to do
        server.stop();
        QTRY_COMPARE(disconnected.count(), 1);
        QVERIFY(!client.isConnected());
        server.listen();
        QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 2, 20000);
    }

    void bytesOfALostConnectionDoNotMixWithTheNext()
    {
        ConnectedClient pair;
        QSignalSpy cleared(&pair.client, &UsbIPCaptureClient::captureCleared);
        QSignalSpy packets(&pair.client, &UsbIPCaptureClient::packetCaptured);
        pair.server.send(frame(5, {}) + frame(1, PacketBytes().payload()).left(30));
        QTRY_COMPARE(cleared.count(), 1);
        pair.server.stop();
        QTRY_VERIFY(!pair.client.isConnected());
        pair.server.listen();
        QTRY_VERIFY_WITH_TIMEOUT(pair.client.isConnected() && pair.server.hasClient(), 20000);
        pair.server.send(frame(1, PacketBytes().payload()));
        QTRY_COMPARE(packets.count(), 1);
    }

    void slotMayLetMoreBytesArrive()
    {
        UsbIPCaptureClient client;
        QList<quint32> order;
        connect(&client, &UsbIPCaptureClient::packetCaptured, &client, [&](uint32_t, const UsbIPPacketInfo& packet) {
            order << packet.sequenceNumber;
            if (packet.sequenceNumber != 1)
                return;
            PacketBytes third;
            third.sequence = 3;
            third.data = QByteArray(50000, 'x'); // moves the buffer
            client.receive(frame(1, third.payload()));
        });
        PacketBytes first;
        PacketBytes second;
        second.sequence = 2;
        client.receive(frame(1, first.payload()) + frame(1, second.payload()));
        QCOMPARE(order, (QList<quint32>{1, 2, 3}));
        QCOMPARE(client.packets(7).size(), std::size_t(3));
    }

    void slotMayConnectBetweenMessages()
    {
        UsbIPCaptureClient client;
        int packets = 0;
        connect(&client, &UsbIPCaptureClient::captureCleared, &client,
                [&] { connect(&client, &UsbIPCaptureClient::packetCaptured, &client, [&packets] { ++packets; }); });
        const QByteArray packet = frame(1, PacketBytes().payload());
        client.receive(packet + frame(5, {}) + packet + packet);
        QCOMPARE(packets, 2);
        QVERIFY(client.packets(1).empty()); // of another device
        QCOMPARE(client.store()->size(), std::size_t(3));
    }

    void burstIsHandledInSlicesAndWholeBeforeTheDisconnect()
    {
        constexpr int kCount = 4000;
        QByteArray burst;
        for (quint32 number = 0; number < kCount; ++number) {
            PacketBytes packet;
            packet.sequence = number;
            packet.data = QByteArray(400, 'x');
            burst += frame(1, packet.payload());
        }
        ConnectedClient pair;
        int inThisTurn = 0;
        int mostInATurn = 0;
        QTimer turns;
        connect(&turns, &QTimer::timeout, &turns, [&inThisTurn] { inThisTurn = 0; });
        turns.start(0);
        connect(&pair.client, &UsbIPCaptureClient::packetCaptured, &pair.client, [&] {
            mostInATurn = std::max(mostInATurn, ++inThisTurn);
            QThread::usleep(100); // a window that takes its time
        });
        int atDisconnect = -1;
        connect(&pair.client, &UsbIPCaptureClient::disconnected, &pair.client,
                [&] { atDisconnect = int(pair.client.store()->size()); });
        pair.server.send(burst);
        QTRY_COMPARE_WITH_TIMEOUT(pair.client.store()->size(), std::size_t(kCount), 60000);
        QVERIFY2(mostInATurn < 500, qPrintable(QString::number(mostInATurn))); // 8 ms and what 16 KiB hold beyond

        constexpr int kLast = 200; // as much as the system keeps for a reader when the sender is gone
        pair.server.send(burst.left(burst.size() / kCount * kLast));
        pair.server.stop();
        QTRY_COMPARE_WITH_TIMEOUT(atDisconnect, kCount + kLast, 20000);
        for (std::size_t number = 0; number < std::size_t(kCount + kLast); ++number)
            QCOMPARE(pair.client.store()->at(number).sequenceNumber, quint32(number % kCount));
    }
};

PLUGBOARD_SUITE(CaptureClientTest)
#include "capture_client_test.moc"
