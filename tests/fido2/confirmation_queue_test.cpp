#include "fido2/channel/confirmation_queue.h"
#include "tests/fido2/fido2_test_support.h"
#include "tests/support/log_lines.h"
#include "tests/support/suite_registry.h"

#include <QEventLoop>

#include <memory>

namespace {

constexpr ConfirmationQueue::Timing kAtOnce{1000, 0, 0};

void denyNobody(qint64)
{}

ConfirmationRequest request(qint64 processId, const QString& operation, const char* data = "{}")
{
    return {processId, operation, json(data), {}};
}

} // namespace

class ConfirmationQueueTest : public QObject
{
    Q_OBJECT

private slots:
    void showsOneAtATimeInOrder()
    {
        QStringList shown;
        int open = 0;
        ConfirmationQueue* toAsk = nullptr;
        ConfirmationQueue queue(
            [&](const ConfirmationRequest& asked) {
                QCOMPARE(++open, 1);
                shown << asked.operation;
                if (asked.operation == QStringLiteral("a")) {
                    toAsk->add(request(2, QStringLiteral("b"))); // arrives while the dialog is open
                    toAsk->add(request(1, QStringLiteral("c")));
                    QCoreApplication::processEvents();
                }
                --open;
            },
            denyNobody, kAtOnce);
        toAsk = &queue;
        queue.add(request(1, QStringLiteral("a")));
        QVERIFY(shown.isEmpty()); // never below the caller
        QTRY_COMPARE(shown.join(QLatin1Char(' ')), QStringLiteral("a b c"));
        queue.add(request(1, QStringLiteral("d")));
        QTRY_COMPARE(shown.size(), 4);
    }

    void dropsRepetitionsThatBearATime_data()
    {
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<qint64>("processId");
        QTest::addColumn<int>("shown");
        QTest::newRow("the same request again") << QByteArray("{'timestamp':5,'rpId':'a'}") << qint64(1) << 1;
        QTest::newRow("asked at another time") << QByteArray("{'timestamp':6,'rpId':'a'}") << qint64(1) << 2;
        QTest::newRow("of another device") << QByteArray("{'timestamp':5,'rpId':'a'}") << qint64(2) << 2;
    }

    void dropsRepetitionsThatBearATime()
    {
        QFETCH(QByteArray, second);
        QFETCH(qint64, processId);
        QFETCH(int, shown);
        int count = 0;
        ConfirmationQueue queue([&](const ConfirmationRequest&) { ++count; }, denyNobody, kAtOnce);
        const auto first = request(1, QStringLiteral("get_assertion"), "{'timestamp':5,'rpId':'a'}");
        const auto other = request(processId, QStringLiteral("get_assertion"), second);
        queue.add(first);
        queue.add(other); // while the first one waits
        QCOMPARE(queue.waiting(), shown);
        QTRY_VERIFY(queue.waiting() == 0 && count == shown);
        queue.add(other); // after it was answered
        QCoreApplication::processEvents();
        QCOMPARE(count, shown);
        const auto timeless = request(1, QStringLiteral("client_pin"));
        queue.add(timeless);
        queue.add(timeless);
        QTRY_COMPARE(count, shown + 2);
    }

    void asksAgainWhenTheAnswerWasLost()
    {
        const auto asked = request(1, QStringLiteral("get_assertion"), "{'timestamp':5,'rpId':'a'}");
        int count = 0;
        ConfirmationQueue* toAsk = nullptr;
        ConfirmationQueue queue(
            [&](const ConfirmationRequest&) {
                ++count;
                toAsk->add(asked); // repeated while its dialog is open
            },
            denyNobody, {0, 0, 0}); // every repetition after the answer is a late one
        toAsk = &queue;
        queue.add(asked);
        QTRY_COMPARE(count, 1);
        QCoreApplication::processEvents();
        QCOMPARE(count, 1);
        queue.add(asked);
        QTRY_COMPARE(count, 2);
    }

    void forgetsADeletedDevice()
    {
        QStringList shown;
        ConfirmationQueue queue([&](const ConfirmationRequest& asked) { shown << asked.operation; }, denyNobody,
                                kAtOnce);
        queue.add(request(1, QStringLiteral("a")));
        queue.add(request(2, QStringLiteral("b")));
        queue.forget(1);
        QTRY_COMPARE(shown, QStringList{QStringLiteral("b")});
    }

    /// Answers carry no id: what is denied unseen must be denied after what was asked before it, and once each.
    void deniesInTurnWhatOneDeviceAsksTooMuch()
    {
        constexpr int kMost = ConfirmationQueue::kMostWaitingPerProcess;
        const LogLines logged(LogLines::Least::Warning);
        QStringList answers;
        ConfirmationQueue queue([&](const ConfirmationRequest& asked) { answers << asked.operation; },
                                [&](qint64 processId) { answers << QStringLiteral("denied %1").arg(processId); },
                                kAtOnce);
        QStringList expected;
        for (int count = 0; count < kMost + 3; ++count) {
            queue.add(request(1, QString::number(count)));
            expected << (count < kMost ? QString::number(count) : QStringLiteral("denied 1"));
        }
        queue.add(request(2, QStringLiteral("of another device")));
        expected << QStringLiteral("of another device");
        QCOMPARE(queue.waiting(), kMost + 1);
        QCOMPARE(logged.lines().size(), 1);
        QTRY_COMPARE(answers, expected);
    }

    void survivesItsEndDuringADialog()
    {
        std::unique_ptr<ConfirmationQueue> queue;
        bool shown = false;
        queue = std::make_unique<ConfirmationQueue>(
            [&](const ConfirmationRequest&) {
                queue.reset();
                shown = true;
            },
            denyNobody, kAtOnce);
        queue->add(request(1, QStringLiteral("a")));
        queue->add(request(1, QStringLiteral("b")));
        QTRY_VERIFY(shown);
        QVERIFY(!queue);
    }
};

PLUGBOARD_SUITE(ConfirmationQueueTest)
#include "confirmation_queue_test.moc"
