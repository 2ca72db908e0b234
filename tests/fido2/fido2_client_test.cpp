#include "fido2/channel/fido2_channels.h"
#include "fido2/channel/fido2_message.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QSignalSpy>

#include <memory>

namespace {

constexpr int kShortInterval = 20; // ms

/// The device process's end of the channel.
class Server
{
public:
    explicit Server(const QString& name)
    {
        QLocalServer::removeServer(name);
        m_server.setSocketOptions(QLocalServer::UserAccessOption);
        const bool listens = m_server.listen(name);
        Q_ASSERT(listens);
        Q_UNUSED(listens);
    }

    /// The caller owns it; null when no one comes.
    QLocalSocket* accept()
    {
        if (!QTest::qWaitFor([this] { return m_server.hasPendingConnections(); }))
            return nullptr;
        QLocalSocket* socket = m_server.nextPendingConnection();
        socket->setParent(nullptr);
        return socket;
    }

    bool idle() const { return !m_server.hasPendingConnections(); }

private:
    QLocalServer m_server;
};

QString serverName(qint64 processId)
{
    return QStringLiteral("Fido2Server_%1").arg(processId);
}

/// Not the id of a device process: those of this test alone.
qint64 uniqueProcessId()
{
    static qint64 last = QCoreApplication::applicationPid() * 100;
    return ++last;
}

/// One read's worth of bytes.
QByteArray received(QLocalSocket* socket)
{
    return QTest::qWaitFor([socket] { return socket->bytesAvailable() > 0; }) ? socket->readAll() : QByteArray();
}

void send(QLocalSocket* socket, const QByteArray& bytes)
{
    socket->write(bytes);
    socket->flush();
}

const QByteArray kQuestion =
    R"({"type":"user_confirmation_request","operation":"get_assertion","data":{"rpId":"example.com"}})";

} // namespace

class Fido2ClientTest : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatIsExactlyOneQuestion_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("operation"); // "-" when it is no question
        const QString none = QStringLiteral("-");
        QTest::newRow("a question") << kQuestion << QStringLiteral("get_assertion");
        QTest::newRow("no operation is an empty one")
            << QByteArray(R"({"type":"user_confirmation_request","data":{"a":1}})") << QString();
        QTest::newRow("two in one read") << kQuestion + kQuestion << none;
        QTest::newRow("an array") << '[' + kQuestion + ']' << none;
        QTest::newRow("a response that comes back") << QByteArray(R"({"type":"user_confirmation_response"})") << none;
        QTest::newRow("a type that is no string") << QByteArray(R"({"type":7,"data":{"a":1}})") << none;
    }

    void readsWhatIsExactlyOneQuestion()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, operation);
        const auto question = parseConfirmationQuestion(bytes);
        QCOMPARE(question ? question->operation : QStringLiteral("-"), operation);
    }

    void rebuildsEmptyDataFromTheTopLevel_data()
    {
        QTest::addColumn<QByteArray>("members");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<int>("loggedLines");
        const auto row = [](const char* name, const char* members, const char* data, int lines) {
            QTest::newRow(name) << QByteArray(members) << QByteArray(data) << lines;
        };
        row("data is taken as it is", "'data':{'x':1},'rpId':'a'", "{'x':1}", 0);
        row("empty data", "'data':{},'rpId':'a','userName':'u'", "{'rpId':'a','userName':'u'}", 2);
        row("no data and nothing at the top", "'other':1", "{}", 3);
        row("only the listed members, of any type",
            "'rpId':1,'rpName':1,'userName':1,'userDisplayName':1,'userId':1,'credentialId':1,'credentialType':1,"
            "'algorithm':1,'signatureCounter':1,'userVerificationRequired':1,'userPresenceRequired':1,'pinRequired':1,"
            "'deviceSerialNumber':1,'deviceName':1,'timestamp':1,'isPasswordlessLogin':1,'availableCredentials':1,"
            "'transports':null,'supportedAlgorithms':1,'algorithmInfo':1,'allowDescriptionInput':1,"
            "'defaultDescription':1,'operation':'o'",
            "{'algorithm':1,'availableCredentials':1,'credentialId':1,'credentialType':1,'deviceName':1,"
            "'deviceSerialNumber':1,'isPasswordlessLogin':1,'operation':'o','pinRequired':1,'rpId':1,'rpName':1,"
            "'signatureCounter':1,'timestamp':1,'transports':null,'userDisplayName':1,'userId':1,'userName':1,"
            "'userPresenceRequired':1,'userVerificationRequired':1}",
            2);
    }

    void rebuildsEmptyDataFromTheTopLevel()
    {
        QFETCH(QByteArray, members);
        QFETCH(QByteArray, data);
        QFETCH(int, loggedLines);
        const LogLines logged(LogLines::Least::Warning);
        const QByteArray message = "{'type':'user_confirmation_request'," + members + '}';
        const auto question = parseConfirmationQuestion(QByteArray(message).replace('\'', '"'));
        QVERIFY(question);
        QCOMPARE(compact(question->data), data);
        const QStringList lines = logged.lines();
        QCOMPARE(lines.size(), loggedLines);
        if (loggedLines >= 2) {
            QCOMPARE(lines.at(0), QStringLiteral("ERROR: Received empty data in user confirmation request!"));
            QVERIFY(lines.at(1).startsWith(QStringLiteral("Original command: {")));
        }
        if (loggedLines == 3)
            QCOMPARE(lines.at(2), QStringLiteral("Failed to reconstruct data from original command"));
    }

    void pingsAtOnceAndWritesIndented()
    {
        const QString name = serverName(uniqueProcessId());
        Fido2Client client;
        QSignalSpy status(&client, &Fido2Client::connectionStatusChanged);
        QVERIFY(!client.sendMessage(QJsonObject()));
        QVERIFY(!client.connectToServer(name));
        QVERIFY(status.isEmpty()); // a failure reports nothing of its own

        Server server(name);
        QVERIFY(client.connectToServer(name));
        QVERIFY(client.connectToServer(QStringLiteral("another, ignored while connected")));
        QCOMPARE(status, QList<QVariantList>{{true}});
        const std::unique_ptr<QLocalSocket> device(server.accept());
        const QByteArray ping = received(device.get());
        QCOMPARE(ping, QJsonDocument::fromJson(ping).toJson(QJsonDocument::Indented));
        const QJsonObject message = QJsonDocument::fromJson(ping).object();
        QCOMPARE(message.keys(), (QStringList{QStringLiteral("timestamp"), QStringLiteral("type")}));
        QCOMPARE(message.value(QStringLiteral("type")).toString(), QStringLiteral("ping"));
        QVERIFY(message.value(QStringLiteral("timestamp")).toDouble() > 1.7e12);

        QSignalSpy asked(&client, &Fido2Client::userConfirmationRequestReceived);
        send(device.get(), kQuestion);
        QTRY_COMPARE(asked.size(), 1);
        QCOMPARE(asked.at(0).at(1).toJsonObject(), json("{'rpId':'example.com'}"));
    }

    void dropsWhatIsSplitMergedOrTooLong_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("warns");
        QTest::newRow("a half, whose other half is dropped too") << kQuestion.left(30) << false;
        QTest::newRow("more than the bound") << QByteArray(Fido2Client::kLargestMessage + 1, ' ') << true;
    }

    void dropsWhatIsSplitMergedOrTooLong()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, warns);
        const qint64 processId = uniqueProcessId();
        Server server(serverName(processId));
        Fido2Client client;
        QVERIFY(client.connectToServer(serverName(processId)));
        QSignalSpy asked(&client, &Fido2Client::userConfirmationRequestReceived);
        const std::unique_ptr<QLocalSocket> device(server.accept());
        const LogLines logged(LogLines::Least::Warning);
        int reads = 0;
        auto* socket = client.findChild<QLocalSocket*>();
        connect(socket, &QLocalSocket::readyRead, socket, [&] { ++reads; });
        if (warns)
            socket->blockSignals(true); // until all of it waits in one read
        send(device.get(), bytes);
        if (warns) {
            QTRY_VERIFY(socket->bytesAvailable() > Fido2Client::kLargestMessage);
            socket->blockSignals(false);
            client.handleServerData();
        } else {
            QTRY_COMPARE(reads, 1);
        }
        QCOMPARE(!logged.lines().isEmpty(), warns);
        QVERIFY(asked.isEmpty());
        if (bytes == kQuestion.left(30)) {
            send(device.get(), kQuestion.mid(30));
            QTRY_COMPARE(reads, 2);
            QVERIFY(asked.isEmpty());
        }
        send(device.get(), kQuestion);
        QTRY_COMPARE(asked.size(), 1);
    }

    /// As a system hands over what was written at once: the rest is on its way when the first piece is read.
    void joinsThePiecesOfALargeWrite()
    {
        constexpr int kPiece = 4096;
        const QByteArray large = QByteArray(kQuestion).insert(1, QByteArray(3 * kPiece, ' '));
        const qint64 processId = uniqueProcessId();
        Server server(serverName(processId));
        Fido2Client client;
        QVERIFY(client.connectToServer(serverName(processId)));
        QSignalSpy asked(&client, &Fido2Client::userConfirmationRequestReceived);
        const std::unique_ptr<QLocalSocket> device(server.accept());
        auto* socket = client.findChild<QLocalSocket*>();
        socket->blockSignals(true);
        send(device.get(), large.left(kPiece));
        QTRY_COMPARE(socket->bytesAvailable(), qint64(kPiece));
        send(device.get(), large.mid(kPiece));
        socket->blockSignals(false);
        client.handleServerData();
        QTRY_COMPARE(asked.size(), 1);
    }

    void attemptsFourTimesAfterALoss()
    {
        const QString name = serverName(uniqueProcessId());
        Fido2Client client(nullptr, kShortInterval);
        QSignalSpy status(&client, &Fido2Client::connectionStatusChanged);
        auto server = std::make_unique<Server>(name);
        QVERIFY(client.connectToServer(name));
        std::unique_ptr<QLocalSocket> device(server->accept());
        server.reset();
        device.reset();
        QTRY_VERIFY(client.reconnectAttempts() > 6); // ticks go on
        QCOMPARE(status, (QList<QVariantList>{{true}, {false}}));

        Server late(name);
        const std::int32_t before = client.reconnectAttempts();
        QTRY_VERIFY(client.reconnectAttempts() > before + 3);
        QVERIFY(!client.isConnected());
        QVERIFY(late.idle());
        QCOMPARE(Fido2Client::kReconnectIntervalMs, 2000);
    }

    void reconnectsToAServerThatComesBack()
    {
        const QString name = serverName(uniqueProcessId());
        Fido2Client client(nullptr, 4 * kShortInterval);
        QSignalSpy status(&client, &Fido2Client::connectionStatusChanged);
        auto server = std::make_unique<Server>(name);
        QVERIFY(client.connectToServer(name));
        for (int round = 0; round < 3; ++round) {
            std::unique_ptr<QLocalSocket> device(server->accept());
            QVERIFY(received(device.get()).contains("ping"));
            server.reset();
            device.reset();
            QTRY_VERIFY(!client.isConnected());
            server = std::make_unique<Server>(name);
            QTRY_VERIFY(client.isConnected());
            QCOMPARE(client.reconnectAttempts(), 0);
        }
        QCOMPARE(status.size(), 7);
    }

    void stopsForGood()
    {
        const QString name = serverName(uniqueProcessId());
        Fido2Client client(nullptr, kShortInterval);
        Server server(name);
        QVERIFY(client.connectToServer(name));
        const std::unique_ptr<QLocalSocket> device(server.accept());
        QSignalSpy status(&client, &Fido2Client::connectionStatusChanged);
        client.disconnectFromServer();
        QTRY_COMPARE(status, (QList<QVariantList>{{false}, {false}}));
        QTRY_COMPARE(device->state(), QLocalSocket::UnconnectedState);
        client.attemptReconnect();
        QCOMPARE(client.reconnectAttempts(), 0);
        QVERIFY(!client.connectToServer(name)); // refused by itself as soon as it is there
        QVERIFY(!client.isConnected());
    }

    void channelsAnswerByProcessId()
    {
        const qint64 processId = QCoreApplication::applicationPid(); // who serves it is checked
        Server server(serverName(processId));
        Fido2Channels channels;
        channels.add(processId);
        const std::unique_ptr<QLocalSocket> device(server.accept());
        QVERIFY(received(device.get()).contains("ping"));
        QCOMPARE(channels.processIdOf(channels.findChild<Fido2Client*>()), std::optional<qint64>(processId));
        QCOMPARE(channels.processIdOf(this), std::optional<qint64>());

        channels.answer(processId, true, json("{'userAction':'confirmed'}"));
        QJsonObject response = QJsonDocument::fromJson(received(device.get())).object();
        QVERIFY(response.take(QStringLiteral("timestamp")).toDouble() > 1.7e12);
        QCOMPARE(compact(response), QByteArray("{'confirmed':true,'data':{'userAction':'confirmed'},"
                                               "'type':'user_confirmation_response'}"));

        device->disconnectFromServer();
        QTRY_VERIFY(!channels.findChild<Fido2Client*>()->isConnected());
        const LogLines logged(LogLines::Least::Warning);
        channels.answer(processId, true, {});
        channels.drop(processId);
        channels.answer(processId, true, {});
        QCOMPARE(
            logged.lines(),
            (QStringList{QStringLiteral("FIDO2 client for process %1 not available or not connected").arg(processId),
                         QStringLiteral("No FIDO2 client found for process %1").arg(processId)}));
    }

    void channelsReplaceTheClientOfAReusedId()
    {
        const qint64 processId = QCoreApplication::applicationPid(); // who serves it is checked
        Server server(serverName(processId));
        Fido2Channels channels;
        QSignalSpy asked(&channels, &Fido2Channels::confirmationRequested);
        channels.add(processId);
        const std::unique_ptr<QLocalSocket> first(server.accept());
        channels.add(processId);
        const std::unique_ptr<QLocalSocket> second(server.accept());
        QTRY_COMPARE(first->state(), QLocalSocket::UnconnectedState);
        QCOMPARE(channels.processIds(), QList<qint64>{processId});
        send(second.get(), kQuestion);
        QTRY_COMPARE(asked.size(), 1);
        QCOMPARE(asked.at(0).at(0).toLongLong(), processId);
        first->readAll();
        second->readAll();
        channels.answer(processId, false, {});
        QVERIFY(received(second.get()).contains("user_confirmation_response"));
    }

    void channelsRetryADeviceThatListensLate()
    {
        const qint64 processId = QCoreApplication::applicationPid(); // who serves it is checked
        Fido2Channels channels(nullptr, 4 * kShortInterval);
        QSignalSpy connectedDevices(&channels, &Fido2Channels::deviceConnected);
        QSignalSpy lostDevices(&channels, &Fido2Channels::deviceDisconnected);
        channels.add(processId);
        QCOMPARE(lostDevices.size(), 1);
        Server server(serverName(processId));
        QTRY_COMPARE(connectedDevices.size(), 1);
        QCOMPARE(connectedDevices.at(0).at(0).toLongLong(), processId);
    }
};

PLUGBOARD_SUITE(Fido2ClientTest)
#include "fido2_client_test.moc"
