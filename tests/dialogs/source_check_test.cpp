#include "dialogs/source_check.h"
#include "tests/dialogs/sources.h"
#include "tests/support/suite_registry.h"

#include <QGuiApplication>
#include <QtTest>

#include <stdexcept>

class SourceCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void isBusyWhileItLooksAndCatchesWhatIsThrown();
    void endsWithItsLimit_data();
    void endsWithItsLimit();
};

void SourceCheckTest::isBusyWhileItLooksAndCatchesWhatIsThrown()
{
    bool wasBusy = false;
    const SourceCheck throwing = [&](const QString&, SourceProbe::Kind) -> SourceProbeResult {
        wasBusy = QGuiApplication::overrideCursor() && QGuiApplication::overrideCursor()->shape() == Qt::WaitCursor;
        throw std::runtime_error("no memory");
    };
    QVERIFY(!runCheck(throwing, QStringLiteral("x"), SourceProbe::Kind::Video).opened);
    QVERIFY(wasBusy);
    QVERIFY(!QGuiApplication::overrideCursor());
}

void SourceCheckTest::endsWithItsLimit_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("server that accepts and never answers") << QByteArray();
    QTest::newRow("stream that stops where its pictures should begin")
        << httpAnswer("video/x-msvideo", contentOf("odd.avi").left(300));
}

void SourceCheckTest::endsWithItsLimit()
{
    QFETCH(QByteArray, answer);
    const LoopbackServer server(answer, LoopbackServer::Ending::Stall);
    const SourceCheck check = checkWithin(std::chrono::milliseconds(200));
    QVERIFY(!runCheck(check, server.url("http", "/video"), SourceProbe::Kind::Video).opened);
}

PLUGBOARD_SUITE(SourceCheckTest)
#include "source_check_test.moc"
