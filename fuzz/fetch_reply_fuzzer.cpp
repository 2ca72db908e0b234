// links: plugboard::app
// fetch_reply_fuzzer.cpp: whatever the start-up fetch is answered, in pieces or cut off: it asks once over a
// connection, over a few where they end without an answer, and whoever ends it does not wait.
#include "app/startup_fetch.h"
#include "fuzz/fuzz_bytes.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <memory>
#include <optional>

namespace {

constexpr int kLimit = 4000;        // ms
constexpr int kPatience = 100;      // ms; a head that has no end when the server has closed leaves the fetch waiting
constexpr int kMostConnections = 4; // the network library tries again where one ends before it was answered

void answer(QTcpSocket& peer, FuzzBytes& input)
{
    while (!input.isEmpty() && peer.state() == QAbstractSocket::ConnectedState) {
        const QByteArray piece = input.bytes(1 + input.word());
        const int times = 1 + input.byte() % 64;
        for (int time = 0; time < times; ++time)
            peer.write(piece);
        peer.flush();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    static int s_count = 1;
    static char s_name[] = "fuzzer";
    static char* s_arguments[] = {s_name, nullptr};
    new QCoreApplication(s_count, s_arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QTcpServer server; // of this run only: a late connection of one would be the next one's
    require(server.listen(QHostAddress::LocalHost));

    FuzzBytes input(data, size);
    std::optional<StartupFetch> fetch(std::in_place,
                                      startupFetchUrl(QStringLiteral("127.0.0.1:%1").arg(server.serverPort())));
    require(server.waitForNewConnection(kLimit));
    const std::unique_ptr<QTcpSocket> peer(server.nextPendingConnection());
    require(peer->waitForReadyRead(kLimit));
    const QByteArray asked = peer->readAll();
    answer(*peer, input);
    peer->disconnectFromHost();
    int connections = 1;
    const QDeadlineTimer patience(kPatience);
    while (fetch->isRunning() && !patience.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        if (const std::unique_ptr<QTcpSocket> again{server.nextPendingConnection()})
            require(++connections <= kMostConnections);
        QThread::msleep(1);
    }
    const QDeadlineTimer end(kLimit);
    fetch.reset();
    require(!end.hasExpired());
    require(asked.count("GET ") == 1 && peer->bytesAvailable() == 0);
    return 0;
}
