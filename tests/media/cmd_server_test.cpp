#include "media/av_scaler.h"
#include "media/control/cmd_map.h"
#include "media/control/cmd_server.h"
#include "media/debug_commands.h"
#include "tests/media/media_files.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <filesystem>
#include <memory>
#include <semaphore>
#include <thread>

namespace {

QString uniqueName()
{
    static int number = 0;
    return QStringLiteral("CmdServerTest_%1_%2").arg(QCoreApplication::applicationPid()).arg(++number);
}

struct Client
{
    explicit Client(const QString& name)
    {
        QObject::connect(&socket, &QLocalSocket::readyRead, [this] { received += socket.readAll(); });
        socket.connectToServer(name);
    }

    bool isConnected() const { return socket.state() == QLocalSocket::ConnectedState; }
    void send(const QByteArray& bytes)
    {
        socket.write(bytes);
        socket.flush();
    }

    QLocalSocket socket;
    QByteArray received;
};

/// Waits until the client has received just these bytes.
#define RECEIVE(client, bytes)                  \
    do {                                        \
        QTRY_COMPARE((client).received, bytes); \
        (client).received.clear();              \
    } while (false)

#ifdef _WIN32
constexpr bool kSocketsAreFiles = false;
#else
constexpr bool kSocketsAreFiles = true;
#endif

const QByteArray kGreeting = "OK: Command server ready\r\n";

ScalerSettings settingsFor(const QString& name)
{
    ScalerSettings settings;
    settings.serverName = name;
    settings.sleep = [](std::chrono::milliseconds time) {
        if (time != std::chrono::milliseconds(100))
            qFatal("the scaler waits %d ms for its server", int(time.count()));
    };
    return settings;
}

} // namespace

class CmdServerTest : public QObject
{
    Q_OBJECT

private slots:
    void servesOneClient()
    {
        const QString name = uniqueName();
        CmdServer server;
        QStringList order;
        connect(&server, &CmdServer::ClientConnected, [&] { order << QStringLiteral("connected"); });
        connect(&server, &CmdServer::CommandReceived,
                [&](const QString& line) { order << QStringLiteral("got ") + line; });
        connect(&server, &CmdServer::ServerStatusChanged,
                [&](bool running) { order << (running ? QStringLiteral("running") : QStringLiteral("stopped")); });
        connect(&server, &CmdServer::ClientDisconnected, [&] { order << QStringLiteral("gone"); });
        QVERIFY(!server.IsRunning());
        QVERIFY(server.StartServer(name));
        QVERIFY(server.StartServer(name));
        QVERIFY(server.IsRunning());

        Client client(name);
        RECEIVE(client, kGreeting);
        client.send("no handler\n");
        RECEIVE(client, QByteArray("no handler\nERROR: No command handler set\r\n"));
        server.SetCommandHandler([&](const QString& line, QString& reply) {
            order << QStringLiteral("handled");
            if (line == QLatin1String("quiet"))
                server.SetEchoEnabled(false);
            else
                reply = QStringLiteral("<") + line + QStringLiteral(">");
        });
        client.send("pa");
        RECEIVE(client, QByteArray("pa"));
        client.send("rt \xc3\xa4\r\nquiet\r\n");
        RECEIVE(client, QByteArray("rt \xc3\xa4\r\nquiet\r\n<part \xc3\xa4>\r\n\r\n"));
        client.send("x\n");
        RECEIVE(client, QByteArray("<x>\r\n"));
        client.socket.disconnectFromServer();
        QTRY_COMPARE(order.last(), QStringLiteral("gone"));
        server.StopServer();
        QVERIFY(!server.IsRunning());
        QCOMPARE(
            order.join(QLatin1Char('|')),
            QStringLiteral("running|connected|got no handler|got part \u00e4|handled|got quiet|handled|got x|handled|"
                           "gone|stopped"));
    }

    void refusesASecondClient()
    {
        const QString name = uniqueName();
        CmdServer server;
        server.SetEchoEnabled(false);
        server.SetCommandHandler([](const QString& line, QString& reply) { reply = line; });
        QVERIFY(server.StartServer(name));
        Client first(name);
        RECEIVE(first, kGreeting);
        for (int attempt = 0; attempt < 3; ++attempt) {
            Client second(name);
            QTRY_COMPARE(second.received, QByteArray("ERROR: Another client is already connected\r\n"));
            QTRY_VERIFY(!second.isConnected());
        }
        first.send("still here\n");
        RECEIVE(first, QByteArray("still here\r\n"));
        first.socket.disconnectFromServer();
        QSignalSpy gone(&server, &CmdServer::ClientDisconnected);
        QTRY_COMPARE(gone.count(), 1);
        Client third(name);
        RECEIVE(third, kGreeting);
    }

    void discardsAPartialLineWithItsClient()
    {
        const QString name = uniqueName();
        CmdServer server;
        server.SetCommandHandler([](const QString& line, QString& reply) { reply = line; });
        QVERIFY(server.StartServer(name));
        QSignalSpy gone(&server, &CmdServer::ClientDisconnected);
        {
            Client client(name);
            RECEIVE(client, kGreeting);
            client.send("partial");
            RECEIVE(client, QByteArray("partial"));
        }
        QTRY_COMPARE(gone.count(), 1);
        Client next(name);
        RECEIVE(next, kGreeting);
        server.SetEchoEnabled(false);
        next.send("x\n");
        RECEIVE(next, QByteArray("x\r\n"));
    }

    /// The connection is announced by a queued signal; a fast client has spoken before it is handled. Where the system
    /// keeps what it has said, it has left as well.
    void bytesThatCameBeforeTheHandlerAreRead()
    {
        const QString name = uniqueName();
        CmdServer server;
        server.SetEchoEnabled(false);
        QVERIFY(server.StartServer(name));
        QSignalSpy commands(&server, &CmdServer::CommandReceived);
        QSignalSpy gone(&server, &CmdServer::ClientDisconnected);
        for (int round = 1; round <= 20; ++round) {
            std::binary_semaphore spoken(0);
            const std::jthread client([&] {
                QLocalSocket socket;
                socket.connectToServer(name);
                socket.write("x\n");
                socket.flush();
                if (socket.bytesToWrite() == 0)
                    socket.abort();
                spoken.release();
                socket.waitForBytesWritten(30000);
            });
            spoken.acquire();
            QTRY_COMPARE(gone.count(), round);
        }
        QCOMPARE(commands.count(), 20);
    }

    void nameIsFreeForOneServerOnly()
    {
        const QString name = uniqueName();
        auto first = std::make_unique<CmdServer>();
        CmdServer second;
        QVERIFY(first->StartServer(name));
        QVERIFY(!second.StartServer(name));
        QVERIFY(!second.IsRunning());
        Client client(name);
        RECEIVE(client, kGreeting);
        first.reset();
        QVERIFY(second.StartServer(name));
    }

    void nameOfACrashedProgramIsTakenOver()
    {
        const QString name = uniqueName();
#ifndef _WIN32
        QLocalServer crashed;
        QVERIFY(crashed.listen(uniqueName()));
        // A second name of the socket stays when the server has closed.
        std::filesystem::create_hard_link(crashed.fullServerName().toStdString(),
                                          QDir(QDir::tempPath()).filePath(name).toStdString());
        crashed.close();
#endif
        CmdServer server;
        QVERIFY(server.StartServer(name));
        Client client(name);
        RECEIVE(client, kGreeting);
    }

    void filesAreNeverReplaced_data()
    {
        QTest::addColumn<bool>("asPath");
        QTest::newRow("a name of a file in the folder of sockets") << false;
        QTest::newRow("a path") << true;
    }

    void filesAreNeverReplaced()
    {
        QFETCH(bool, asPath);
        const QString name = uniqueName();
        QFile file(QDir(QDir::tempPath()).filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("mine");
        file.close();
        CmdServer server;
        const bool isFile = asPath || kSocketsAreFiles;
        QCOMPARE(server.StartServer(asPath ? file.fileName() : name), !isFile);
        QCOMPARE(file.size(), 4);
        QVERIFY(file.remove());
    }

    /// What a client says in pieces of its own making.
    void hostileLines()
    {
        const QString name = uniqueName();
        CmdServer server;
        server.SetEchoEnabled(false);
        QByteArrayList handled;
        server.SetCommandHandler([&](const QString& line, QString& reply) {
            handled << line.toUtf8();
            reply = QStringLiteral("OK");
        });
        QVERIFY(server.StartServer(name));
        Client client(name);
        RECEIVE(client, kGreeting);
        client.send(QByteArray("a\0b\nnext\n", 9));
        RECEIVE(client, QByteArray("OK\r\nOK\r\n"));
        QCOMPARE(handled.join('|'), QByteArray("a\0b|next", 8));
        handled.clear();

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("was dropped"))); // Once.
        for (int line = 0; line < 3; ++line)
            client.send(QByteArray(200 * 1000, 'x') + "\n");
        client.send("next\n");
        const QByteArray refusal = "ERROR: Command line too long\r\n";
        RECEIVE(client, refusal + refusal + refusal + "OK\r\n");
        QCOMPARE(handled.join('|'), QByteArray("next"));
    }

    void survivesAFloodOfUnreadReplies()
    {
        const QString name = uniqueName();
        CmdServer server;
        server.SetCommandHandler([](const QString& line, QString& reply) { reply = line; });
        QVERIFY(server.StartServer(name));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("does not read")));
        QSignalSpy commands(&server, &CmdServer::CommandReceived);
        std::atomic<bool> sent{false};
        std::thread flood([&] {
            QLocalSocket socket;
            socket.connectToServer(name);
            socket.waitForConnected(5000);
            socket.setReadBufferSize(1); // Reads nothing of what comes back.
            const QByteArray lines = QByteArray(1000, 'x') + '\n';
            for (int count = 0; count < 4000 && socket.state() == QLocalSocket::ConnectedState; ++count) {
                socket.write(lines);
                socket.waitForBytesWritten(5000);
            }
            sent = true;
        });
        QTRY_VERIFY_WITH_TIMEOUT(sent, 60000);
        flood.join();
        QTRY_VERIFY(commands.count() > 0);
    }

    void scalerAnswersCommands()
    {
        const QString name = uniqueName();
        AVScaler scaler(AV_PIX_FMT_YUV420P, 640, 480, kScaleAspectFit, settingsFor(name));
        QVERIFY(scaler.StartCommandServer(name));
        AVScaler second(AV_PIX_FMT_YUV420P, 640, 480, kScaleAspectFit, settingsFor(name));
        QVERIFY(!second.StartCommandServer(name));

        Client client(name);
        RECEIVE(client, kGreeting);
        client.send("imgx,100\r\n\r\necho,off\r\n");
        RECEIVE(client, QByteArray("imgx,100\r\n\r\necho,off\r\nOK: Image X position set to 100\r\n"
                                   "OK: Image X position set to 100\r\nOK: Echo disabled\r\n"));
        QCOMPARE(scaler.placement().x.load(), 100);
    }

    void scalerOfAnotherThreadFindsItsNameFree()
    {
        const QString name = uniqueName();
        for (int round = 0; round < 5; ++round) {
            std::unique_ptr<AVScaler> scaler;
            // The main thread waits here, as it does for a source that it stops: the scaler must not need it.
            std::thread([&] {
                scaler = std::make_unique<AVScaler>(AV_PIX_FMT_YUV420P, 64, 48, kScaleAspectFit, settingsFor(name));
            }).join();
            if (round % 2 == 0) {
                Client client(name);
                QTRY_VERIFY(client.isConnected() || (client.socket.connectToServer(name), false));
                RECEIVE(client, kGreeting);
            }
            std::thread([&] { scaler.reset(); }).join();
            // A scaler of the main thread comes first here, before the main thread has seen the other one's end.
            const AVScaler next(AV_PIX_FMT_YUV420P, 64, 48, kScaleAspectFit, settingsFor(name));
            Client client(name);
            RECEIVE(client, kGreeting);
        }
    }

    void scalerMayDieWhileCommandsRun()
    {
        const QString name = uniqueName();
        for (int round = 0; round < 20; ++round) {
            std::atomic<bool> end{false};
            std::thread media([&] {
                const AVScaler scaler(AV_PIX_FMT_YUV420P, 64, 48, kScaleAspectFit, settingsFor(name));
                while (!end)
                    std::this_thread::yield();
            });
            Client client(name);
            QTRY_VERIFY(client.isConnected() || (client.socket.connectToServer(name), false));
            for (int command = 0; command < 50; ++command)
                client.send("imgmx,1\n");
            QTRY_VERIFY(client.received.contains("moved by 1"));
            end = true;
            QTRY_VERIFY(!client.isConnected());
            media.join();
        }
    }

    void debugCommands()
    {
        const CmdMap& commands = CmdMap::instance();
        const std::vector<std::string> names = commands.names();
        QCOMPARE(names, (std::vector<std::string>{"Reset", "TestAv"}));
        QVERIFY(!commands.run("reset", nullptr, nullptr));
        QCOMPARE(*commands.run("Reset", nullptr, nullptr), -1);

        std::wstring askedClass;
        std::vector<std::wstring> sent;
        bool accepts = true;
        ResetArguments arguments;
        arguments.paths = [&](const std::wstring& interfaceClass, std::size_t limit) {
            askedClass = limit == 8192 ? interfaceClass : L"wrong limit";
            return std::vector<std::wstring>{L"\\\\?\\ROOT#OTHER", L"\\\\?\\ROOT#VHCI#0", L"\\\\?\\ROOT#VxHCI#0"};
        };
        arguments.send = [&](const std::wstring& path) {
            sent.push_back(path);
            return accepts;
        };
        QCOMPARE(*commands.run("Reset", &arguments, nullptr), 0);
        arguments.kind = L"vxhci";
        accepts = false;
        QCOMPARE(*commands.run("Reset", &arguments, nullptr), -1);
        arguments.kind = L"vehci";
        QCOMPARE(*commands.run("Reset", &arguments, nullptr), -1);
        QCOMPARE(sent, (std::vector<std::wstring>{L"\\\\?\\ROOT#VHCI#0", L"\\\\?\\ROOT#VxHCI#0"}));
        QCOMPARE(askedClass, std::wstring(L"{4D10A44F-446C-4481-B354-4F04E6C69812}"));
        QVERIFY(!sendHostControllerReset(L"\\\\?\\missing"));
        QCoreApplication::removePostedEvents(
            QCoreApplication::instance()); // The command has asked the application to quit.

        TestAvArguments missing{mediaFile("missing.mp4").toStdString(), nullptr};
        QCOMPARE(*commands.run("TestAv", &missing, nullptr), -1);
    }
};

PLUGBOARD_SUITE(CmdServerTest)
#include "cmd_server_test.moc"
