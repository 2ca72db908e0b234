#include "emulation/link/bus_id_search.h"
#include "emulation/link/device_link.h"
#include "emulation/link/local_device.h"
#include "emulation/link/vhci_ports.h"
#include "tests/emulation/scripted_function.h"
#include "tests/support/suite_registry.h"
#include "tests/support/usbip_host.h"

#include <QtTest>

#include <array>
#include <csignal>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr uid_t kNobody = 65534;

/// A process of the user that imports the device, and closes the connection at once or reads until it is closed. No
/// turn of this process's event loop happens before it has connected and asked.
class Client
{
public:
    Client(quint16 port, uid_t user, bool closes)
    {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0)
            return;
        const QByteArray request = usbip::importRequest(QStringLiteral("1-1"));
        m_process = ::fork();
        if (m_process == 0)
            run(port, user, closes, request, pipe[1]);
        ::close(pipe[1]);
        m_pipe = pipe[0];
        m_hasAsked = told() == 1;
    }
    ~Client()
    {
        ::close(m_pipe);
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool hasAsked() const { return m_hasAsked; }
    /// Waits for the end of the connection; -1 when there was none.
    int bytesReceived() { return told(); }

private:
    /// In a copy of this process: only what a signal handler may call.
    [[noreturn]] static void run(quint16 port, uid_t user, bool closes, const QByteArray& request, int pipe)
    {
        const auto tell = [pipe](int number) { return ::write(pipe, &number, sizeof number) == sizeof number; };
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool isUser = ::setresgid(user, user, user) == 0 && ::setresuid(user, user, user) == 0;
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        const bool hasAsked = isUser && ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                              ::write(socket, request.constData(), std::size_t(request.size())) == request.size();
        if (closes)
            ::close(socket);
        tell(hasAsked ? 1 : 0);
        int received = 0;
        char piece[512];
        for (ssize_t size = 0; !closes && (size = ::read(socket, piece, sizeof piece)) > 0;)
            received += int(size);
        tell(received);
        ::_exit(0);
    }

    int told() const
    {
        int number = 0;
        return ::read(m_pipe, &number, sizeof number) == sizeof number ? number : -1;
    }

    pid_t m_process = -1;
    int m_pipe = -1;
    bool m_hasAsked = false;
};

} // namespace

/// What the device process reads of Linux's kernel: its controller's ports, and whose program has connected.
class LinkLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void readsPorts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("ports"); // number, speed, "free" or "taken", bus id
        const QByteArray heading = "hub port sta spd dev      sockfd local_busid\n";
        const auto addRow = [](const char* name, const QByteArray& text, const char* ports) {
            QTest::newRow(name) << text << QString::fromLatin1(ports);
        };
        addRow("ports free, on the way, with an address, and in error",
               heading + "hs  0000 004 000 00000000 000000 0-0\n"
                         "hs  0001 005 003 00010003 000007 0-0\n"
                         "hs  0002 006 003 0001007f 000011 3-3\n"
                         "ss  0008 007 005 00010003 000009 4-1\n",
               "0 hs free 0-0, 1 hs taken 0-0, 2 hs taken 3-3, 8 ss taken 4-1");
        addRow("numbers are decimal, also behind zeros", heading + "ss  0010 004 000 00000000 000000 0-0\n",
               "10 ss free 0-0");
        addRow("device behind hubs", heading + "hs  0003 006 003 00010003 000007 3-4.1.7\n", "3 hs taken 3-4.1.7");
        addRow("last line without its end", heading + "hs  0000 004 000 00000000 000000 0-0", "0 hs free 0-0");
        addRow("no text", "", "");
        addRow("heading alone", heading, "");
        addRow("empty lines between", "\n\nhs  0000 004 000 00000000 000000 0-0\n\n", "0 hs free 0-0");
        addRow("hub of a speed that does not exist", "xs  0000 004 000 00000000 000000 0-0\n", "");
        addRow("line that breaks off before the bus id",
               "hs  0000 004 000 00000000 000000\nhs  0001 004 000 00000000 000000 0-0\n", "1 hs free 0-0");
        addRow("words where numbers belong", "hs  port 004 000 00000000 000000 0-0\nhs  0001 sta spd dev sockfd 0-0\n",
               "");
        addRow("port below zero", "hs  -001 004 000 00000000 000000 0-0\n", "");
        addRow("port beyond all numbers", "hs  99999999999 004 000 00000000 000000 0-0\n", "");
        addRow("state that no kernel has is not free", "hs  0000 000 000 00000000 000000 0-0\n", "0 hs taken 0-0");
        addRow("bytes that are no text", QByteArray("hs\0 0000 004 000 00000000 000000 0-0\n\xff\xfe\n", 43), "");
    }

    void readsPorts()
    {
        QFETCH(QByteArray, text);
        QStringList told;
        for (const vhci::Port& port : vhci::parseStatus(text.toStdString()))
            told << QStringLiteral("%1 %2 %3 %4")
                        .arg(QString::number(port.number), QLatin1String(port.isSuperSpeed ? "ss" : "hs"),
                             QLatin1String(port.isFree ? "free" : "taken"), QString::fromStdString(port.busId));
        QTEST(told.join(QStringLiteral(", ")), "ports");
    }

    void searchesForABusIdAndGivesUp_data()
    {
        QTest::addColumn<int>("addressAtLook"); // after a start; 0: never
        QTest::addColumn<QString>("told");
        QTest::newRow("address at once") << 1 << "found 3-1 after 1";
        QTest::newRow("address at the last look") << BusIdSearch::kMostLooks << "found 3-1 after 9";
        QTest::newRow("no address") << 0 << "gave up after 9";
    }

    void searchesForABusIdAndGivesUp()
    {
        QFETCH(int, addressAtLook);
        int looks = 0;
        QString told;
        BusIdSearch search(
            {[&] { return ++looks == addressAtLook ? QStringLiteral("3-1") : QString(); },
             [&](const QString& busId) { told = QStringLiteral("found %1 after %2").arg(busId).arg(looks); },
             [&] { told = QStringLiteral("gave up after %1").arg(looks); }},
            1ms);
        for (int round = 0; round < 2; ++round) { // a device may get its address later still
            looks = 0;
            told.clear();
            search.start();
            QTRY_VERIFY(!told.isEmpty());
            QTEST(told, "told");
        }
    }

    void refusesAnotherUser_data()
    {
        QTest::addColumn<bool>("closes");
        QTest::newRow("who waits for the answer") << false;
        // The kernel says of such a connection that it is root's.
        QTest::newRow("who has closed the connection before it is looked at") << true;
    }

    void refusesAnotherUser()
    {
        QFETCH(bool, closes);
        if (::geteuid() != 0)
            QSKIP("only root can become another user");
        ScriptedFunction function;
        LocalDevice device(function);
        DeviceLink link(device, 7, nullptr, HostChoice::Server);
        link.plugIn();
        const auto port = quint16(link.state().port);
        Client other(port, kNobody, closes);
        QVERIFY(other.hasAsked());
        QTest::ignoreMessage(QtWarningMsg, "A program of another user was refused.");
        tests::UsbIpHost own(port); // in turn, behind the other
        QCOMPARE(own.import(QStringLiteral("1-1")), usbip::OperationStatus::Ok);
        QCOMPARE(other.bytesReceived(), 0);
    }
};

PLUGBOARD_SUITE(LinkLinuxTest)
#include "link_linux_test.moc"
