#include "dialogs/source_check.h"
#include "tests/dialogs/sources.h"
#include "tests/support/suite_registry.h"

#include <QGuiApplication>
#include <QtTest>

#include <atomic>
#include <future>
#include <stdexcept>

class SourceCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void isBusyWhileItLooksAndCatchesWhatIsThrown()
    {
        bool wasBusy = false;
        const SourceCheck throwing = [&](const QString&, SourceProbe::Kind) -> SourceProbeResult {
            wasBusy = QGuiApplication::overrideCursor() && QGuiApplication::overrideCursor()->shape() == Qt::WaitCursor;
            throw std::runtime_error("no memory");
        };
        const SourceProbeResult result = runCheck(throwing, QStringLiteral("x"), SourceProbe::Kind::Video);
        QCOMPARE(uselessReason(result, SourceProbe::Kind::Video), QStringLiteral("no memory"));
        QVERIFY(wasBusy);
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void endsWithItsLimit_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("server that accepts and never answers") << QByteArray();
        QTest::newRow("stream that stops where its pictures should begin")
            << httpAnswer("video/x-msvideo", contentOf("odd.avi").left(300));
    }

    void endsWithItsLimit()
    {
        QFETCH(QByteArray, answer);
        const LoopbackServer server(answer, LoopbackServer::Ending::Stall);
        const SourceCheck check = checkWithin(std::chrono::milliseconds(200));
        QVERIFY(!runCheck(check, server.url("http", "/video"), SourceProbe::Kind::Video).opened);
    }

    /// Like the look-up of a host's name: it ends when it ends.
    void waitsForNoProbeThatCannotBeCancelled()
    {
        std::promise<void> answer;
        const std::shared_future<void> answered = answer.get_future().share();
        const auto ended = std::make_shared<std::atomic<bool>>(false);
        const SourceCheck check = checkWithin(
            std::chrono::milliseconds(50), [answered, ended](SourceProbe& probe, const QString&, SourceProbe::Kind) {
                answered.wait();
                SourceProbeResult found = probe.probe(QString(), SourceProbe::Kind::Video); // the probe is still there
                found.opened = true;
                *ended = true;
                return found;
            });
        const SourceProbeResult result =
            runCheck(check, QStringLiteral("http://slow.invalid/"), SourceProbe::Kind::Video);
        QVERIFY(!*ended);
        QVERIFY(!result.opened);
        QCOMPARE(result.error, QStringLiteral("no answer within 0.05 s"));
        answer.set_value();
        QTRY_VERIFY(*ended);
    }
};

PLUGBOARD_SUITE(SourceCheckTest)
#include "source_check_test.moc"
