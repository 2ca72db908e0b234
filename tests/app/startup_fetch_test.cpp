#include "app/startup_fetch.h"
#include "tests/support/suite_registry.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {

QUrl urlOf(const QTcpServer& server)
{
    return startupFetchUrl(QStringLiteral("127.0.0.1:%1").arg(server.serverPort()));
}

} // namespace

class StartupFetchTest : public QObject
{
    Q_OBJECT

private slots:
    void asksOnceWhateverTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("answer");
        const auto row = [](const char* name, const char* answer) { QTest::newRow(name) << QByteArray(answer); };
        row("a text", "200 OK\r\n");
        row("another place", "302 Found\r\nLocation: /elsewhere\r\n");
        row("a demand for a password", "401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n");
        row("a demand for the user's own ticket", "401 Unauthorized\r\nWWW-Authenticate: Negotiate\r\n");
        row("a demand for the user's own log-in", "401 Unauthorized\r\nWWW-Authenticate: NTLM\r\n");
        row("a demand of a proxy", "407 Proxy Authentication Required\r\nProxy-Authenticate: NTLM\r\n");
    }

    void asksOnceWhateverTheAnswer()
    {
        QFETCH(QByteArray, answer);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QByteArray requests;
        connect(&server, &QTcpServer::newConnection, &server, [&] {
            QTcpSocket* peer = server.nextPendingConnection();
            connect(peer, &QTcpSocket::readyRead, peer, [&requests, &answer, peer] {
                requests += peer->readAll();
                if (requests.endsWith("\r\n\r\n"))
                    peer->write("HTTP/1.1 " + answer + "Content-Length: 2\r\n\r\nhi");
            });
        });
        {
            const StartupFetch fetch(urlOf(server));
            QTRY_VERIFY(!fetch.isRunning());
        }
        QVERIFY2(requests.startsWith("GET /downloads/msg.txt1 HTTP/1.1\r\n"), requests.constData());
        QCOMPARE(requests.count("GET "), 1);
        QVERIFY2(requests.contains("\r\nAccept-Encoding: identity\r\n"), "a small reply could unpack to gigabytes");
    }

    void silentServerDoesNotHoldUpTheEnd()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const StartupFetch fetch(urlOf(server));
        QTRY_VERIFY(server.hasPendingConnections());
        QVERIFY(fetch.isRunning());
    }

    void endlessBodyIsCutOff()
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

    void refusedConnectionEndsQuietly()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const QUrl url = urlOf(server);
        server.close();
        const StartupFetch fetch(url);
        QTRY_VERIFY(!fetch.isRunning());
    }
};

PLUGBOARD_SUITE(StartupFetchTest)
#include "startup_fetch_test.moc"
