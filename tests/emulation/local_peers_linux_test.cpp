#include "capture/channel/capture_client.h"
#include "devices/device_commands.h"
#include "emulation/channels/capture_server.h"
#include "emulation/channels/command_server.h"
#include "emulation/channels/fido2_server.h"
#include "emulation/securitykey/request_command.h"
#include "fido2/channel/fido2_client.h"
#include "media/control/cmd_server.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QtTest>

#include <cstring>
#include <functional>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;
constexpr int kPatience = 20000; // ms

QString place(const QString& name)
{
    return QDir(QDir::tempPath()).filePath(name);
}

/// A process of another user that does this and exits with its result. Made by fork() alone, so `work` may do nothing
/// but system calls.
class Stranger
{
public:
    explicit Stranger(const std::function<int()>& work) : m_process(::fork())
    {
        if (m_process == 0)
            ::_exit(::setgid(kNobody) == 0 && ::setuid(kNobody) == 0 ? work() : 99);
    }

    /// Its exit status; this process goes on meanwhile.
    int wait() const
    {
        int status = -1;
        const bool ended =
            QTest::qWaitFor([&] { return ::waitpid(m_process, &status, WNOHANG) == m_process; }, kPatience);
        return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    pid_t process() const { return m_process; }

private:
    pid_t m_process;
};

sockaddr_un addressOf(const QByteArray& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
    return address;
}

/// Open to everybody; -1 when that fails.
int listenAt(const QByteArray& path)
{
    const sockaddr_un address = addressOf(path);
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool listens = ::bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                         ::chmod(address.sun_path, 0777) == 0 && ::listen(server, 4) == 0;
    return listens ? server : -1;
}

/// What the other end says before it closes, at most one read of it: 0 for nothing.
int readOnce(int socket)
{
    char byte = 0;
    return ::read(socket, &byte, 1) > 0 ? 1 : 0;
}

using Connect = std::function<QString(qint64 processId)>; // the reason why it does not
using Listen = std::function<std::shared_ptr<QObject>(qint64 processId)>;

} // namespace

Q_DECLARE_METATYPE(Connect)
Q_DECLARE_METATYPE(Listen)

/// Both ends of every local socket, with a program of another user at the other one. Only root can start such a
/// program.
class LocalPeersTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (::geteuid() != 0)
            QSKIP("skipped: only root can run a program as another user");
    }

    void serversOfAnotherUserAreSentNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Connect>("connectTo");
        QTest::newRow("confirmations") << QStringLiteral("Fido2Server_") << Connect([](qint64 process) {
            const LogLines logged(LogLines::Least::Warning);
            Fido2Client client;
            client.connectToServer(QStringLiteral("Fido2Server_%1").arg(process), process);
            return logged.lines().join(QLatin1Char(' '));
        });
        QTest::newRow("confirmations, any process") << QStringLiteral("Fido2Server_") << Connect([](qint64 process) {
            const LogLines logged(LogLines::Least::Warning);
            Fido2Client client;
            client.connectToServer(QStringLiteral("Fido2Server_%1").arg(process));
            return logged.lines().join(QLatin1Char(' '));
        });
        QTest::newRow("capture") << QStringLiteral("UsbIPCaptureServer_") << Connect([](qint64 process) {
            UsbIPCaptureClient client;
            QString error;
            QObject::connect(&client, &UsbIPCaptureClient::connectionError, [&error](const QString& e) { error = e; });
            QObject::connect(&client, &UsbIPCaptureClient::connected, [&client] { client.requestStats(); });
            client.setServerProcess(process);
            client.connectToServer();
            return QTest::qWaitFor([&] { return client.isConnected() || !error.isEmpty(); }) ? error : QString();
        });
        QTest::newRow("commands") << QStringLiteral("UsbDeviceCommands_") << Connect([](qint64 process) {
            return sendDeviceCommand(process, QStringLiteral("status")).line;
        });
        QTest::newRow("requests") << QStringLiteral("Fido2Control_") << Connect([](qint64 process) {
            runRequestCommand({QString::number(process), QStringLiteral("reset")}); // says why on standard error
            return QStringLiteral("nobody");
        });
    }

    void serversOfAnotherUserAreSentNothing()
    {
        QFETCH(QString, name);
        QFETCH(Connect, connectTo);
        int ready[2] = {};
        QCOMPARE(::pipe(ready), 0);
        const QByteArray stem = QFile::encodeName(place(name));
        const Stranger stranger([&] {
            char path[108];
            std::snprintf(path, sizeof path, "%s%d", stem.constData(), ::getpid());
            const int server = listenAt(path);
            if (server < 0 || ::write(ready[1], "x", 1) != 1)
                return 98;
            const int heard = readOnce(::accept(server, nullptr, nullptr));
            ::unlink(path);
            return heard;
        });
        QCOMPARE(readOnce(ready[0]), 1);
        ::close(ready[0]);
        ::close(ready[1]);
        const QString reason = connectTo(stranger.process());
        QCOMPARE(stranger.wait(), 0);
        QVERIFY2(reason.contains(QStringLiteral("nobody")), qPrintable(reason));
    }

    void clientsOfAnotherUserAreToldNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Listen>("listen");
        QTest::newRow("confirmations") << QStringLiteral("Fido2Server_") << QByteArray(R"({"type":"ping"})")
                                       << Listen([](qint64 process) {
                                              auto server = std::make_shared<Fido2Server>(process);
                                              return server->listen().isEmpty() ? server : nullptr;
                                          });
        QTest::newRow("capture") << QStringLiteral("UsbIPCaptureServer_") << QByteArray("\x0d\0\0\0\0\0\0\0", 8)
                                 << Listen([](qint64 process) {
                                        auto server = std::make_shared<CaptureServer>(process, 1, nullptr);
                                        return server->start().isEmpty() ? server : nullptr;
                                    });
        QTest::newRow("commands") << QStringLiteral("UsbDeviceCommands_") << QByteArray("status\n")
                                  << Listen([](qint64 process) {
                                         auto server = std::make_shared<CommandServer>(
                                             process, [](const QString&, const CommandServer::Answer& answer) {
                                                 answer(QStringLiteral("OK: done"));
                                             });
                                         return server->start().isEmpty() ? server : nullptr;
                                     });
        QTest::newRow("pictures") << QStringLiteral("CmdServer_") << QByteArray("ImgX,1\r\n")
                                  << Listen([](qint64 process) {
                                         auto server = std::make_shared<CmdServer>();
                                         return server->StartServer(QStringLiteral("CmdServer_%1").arg(process))
                                                    ? server
                                                    : nullptr;
                                     });
    }

    /// The rights of the socket keep others away as long as nobody opens them up.
    void clientsOfAnotherUserAreToldNothing()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(Listen, listen);
        const qint64 process = QCoreApplication::applicationPid();
        const auto server = listen(process);
        QVERIFY(server);
        const QByteArray path = QFile::encodeName(place(name + QString::number(process)));
        QCOMPARE(::chmod(path.constData(), 0777), 0);
        const sockaddr_un address = addressOf(path);
        const LogLines logged(LogLines::Least::Warning);
        const Stranger stranger([&] {
            const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
                ::send(socket, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL) != bytes.size())
                return 98;
            return readOnce(socket);
        });
        QCOMPARE(stranger.wait(), 0);
        QVERIFY2(logged.lines().join(QLatin1Char(' ')).contains(QStringLiteral("nobody")),
                 qPrintable(logged.lines().join(QLatin1Char(' '))));
    }

    void namesOfAnotherUserAreLeftToHim()
    {
        const qint64 process = QCoreApplication::applicationPid();
        const QByteArray path = QFile::encodeName(place(QStringLiteral("Fido2Server_%1").arg(process)));
        QCOMPARE(Stranger([&] { return listenAt(path) >= 0 ? 0 : 98; }).wait(), 0);
        Fido2Server server(process);
        const QString reason = server.listen();
        QVERIFY2(reason.contains(QStringLiteral("nobody")), qPrintable(reason));
        struct stat found = {};
        QCOMPARE(::lstat(path.constData(), &found), 0);
        QCOMPARE(found.st_uid, kNobody);
        QCOMPARE(::unlink(path.constData()), 0);
        QCOMPARE(server.listen(), QString());
    }

    void aLeftSocketIsReplaced()
    {
        const qint64 process = QCoreApplication::applicationPid();
        const QByteArray path = QFile::encodeName(place(QStringLiteral("Fido2Server_%1").arg(process)));
        ::close(listenAt(path));
        Fido2Server server(process);
        QCOMPARE(server.listen(), QString());
        Fido2Client client;
        QVERIFY(client.connectToServer(QStringLiteral("Fido2Server_%1").arg(process), process));
        Fido2Client other;
        QVERIFY(!other.connectToServer(QStringLiteral("Fido2Server_%1").arg(process), process + 1));
    }

    void onlySoManyClientsAreServed()
    {
        constexpr int kMost = 16;
        const qint64 process = QCoreApplication::applicationPid();
        CommandServer server(
            process, [](const QString&, const CommandServer::Answer& answer) { answer(QStringLiteral("OK: done")); });
        QCOMPARE(server.start(), QString());
        const LogLines logged(LogLines::Least::Warning);
        std::vector<std::unique_ptr<QLocalSocket>> clients;
        for (int i = 0; i < kMost + 4; ++i) {
            clients.push_back(std::make_unique<QLocalSocket>());
            clients.back()->connectToServer(deviceCommandServer(process));
            QCoreApplication::processEvents();
        }
        const auto connected = [&] {
            return std::count_if(clients.begin(), clients.end(),
                                 [](const auto& client) { return client->state() == QLocalSocket::ConnectedState; });
        };
        QTRY_COMPARE(connected(), kMost);
        QCOMPARE(logged.lines().size(), 4);
    }
};

PLUGBOARD_SUITE(LocalPeersTest)
#include "local_peers_linux_test.moc"
