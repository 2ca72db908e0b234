#include "app/startup_fetch.h"
#include "tests/support/suite_registry.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

class StartupFetchTest : public QObject
{
    Q_OBJECT

private slots:
    void asksOnceForThePath();
    void silentServerDoesNotHoldUpTheEnd();
    void endlessBodyIsCutOff();
    void refusedConnectionEndsQuietly();
};

namespace {

QUrl urlOf(const QTcpServer& server)
{
    return startupFetchUrl(QStringLiteral("127.0.0.1:%1").arg(server.serverPort()));
}

} // namespace

void StartupFetchTest::asksOnceForThePath()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const StartupFetch fetch(urlOf(server));
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket* peer = server.nextPendingConnection();
    QTRY_VERIFY(peer->peek(4096).contains("\r\n\r\n"));
    QVERIFY(peer->readAll().startsWith("GET /downloads/msg.txt1 HTTP/1.1\r\n"));
    peer->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nhi");
    QTRY_VERIFY(!fetch.isRunning());
    QVERIFY(!server.hasPendingConnections());
}

void StartupFetchTest::silentServerDoesNotHoldUpTheEnd()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const StartupFetch fetch(urlOf(server));
    QTRY_VERIFY(server.hasPendingConnections());
    QVERIFY(fetch.isRunning());
}

void StartupFetchTest::endlessBodyIsCutOff()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const StartupFetch fetch(urlOf(server));
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket* peer = server.nextPendingConnection();
    peer->write("HTTP/1.1 200 OK\r\n\r\n");
    const QByteArray block(65536, 'x');
    const auto more = [peer, &block] {
        if (peer->bytesToWrite() < block.size())
            peer->write(block);
        return peer->state() != QAbstractSocket::ConnectedState;
    };
    QTRY_VERIFY(more());
    QTRY_VERIFY(!fetch.isRunning());
}

void StartupFetchTest::refusedConnectionEndsQuietly()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QUrl url = urlOf(server);
    server.close();
    const StartupFetch fetch(url);
    QTRY_VERIFY(!fetch.isRunning());
}

PLUGBOARD_SUITE(StartupFetchTest)
#include "startup_fetch_test.moc"
