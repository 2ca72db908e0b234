#include "emulation/securitykey/ctap_hid.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

class Conversation : public ctap::RequestHandler
{
public:
    void say(const QString& line)
    {
        const QString word = line.section(QLatin1Char(' '), 0, 0);
        const QString rest = line.section(QLatin1Char(' '), 1);
        if (word == QLatin1String(">"))
            m_hid.takeReport(padded(QByteArray::fromHex(rest.toLatin1())), m_now);
        else if (word == QLatin1String("answer"))
            answer(rest.toLatin1());
        else if (word == QLatin1String("reset"))
            m_hid.reset();
        else
            m_hid.advance(m_now += rest.toInt());
    }

    void answer(const QByteArray& message) { m_hid.answer(message); }

    void request(ctap::HidCommand command, const QByteArray& message) override
    {
        heard << QStringLiteral("request %1 %2")
                     .arg(command == ctap::HidCommand::Cbor ? QStringLiteral("cbor") : QStringLiteral("u2f"),
                          QString::fromLatin1(message.toHex()));
        last = message;
    }
    void cancel() override
    {
        heard << QStringLiteral("cancel");
        m_hid.answer("cancelled");
    }
    ctap::Activity activity() const override { return ctap::Activity::WaitsForUser; }

    static QByteArray padded(QByteArray report)
    {
        return report.append(ctap::CtapHid::kReportSize - report.size(), '\0');
    }

    QStringList heard;
    QByteArray last;
    std::vector<QByteArray> reports;

private:
    void send(QByteArray report)
    {
        reports.push_back(report);
        while (report.endsWith('\0'))
            report.chop(1);
        heard << QStringLiteral("< ") + QString::fromLatin1(report.toHex());
    }

    ctap::Milliseconds m_now = 0;
    ctap::CtapHid m_hid{*this, [this](const QByteArray& report) { send(report); }};
};

} // namespace

/// What the host sends and what comes back, as lines: "> REPORT" is the host's (the rest of its 64 bytes is zero),
/// "wait MS" lets time pass, "answer TEXT" is the handler's; "< REPORT" comes back (zeros at its end are left out),
/// "request", "cancel" are what the handler hears.
class CtapHidTest : public QObject
{
    Q_OBJECT

private slots:
    void exchanges_data()
    {
        QTest::addColumn<QStringList>("said");
        QTest::addColumn<QStringList>("heard");
        const QStringList channels{QStringLiteral("> ffffffff 86 0008 0102030405060708"),
                                   QStringLiteral("> ffffffff 86 0008 1112131415161718")};
        const QStringList given{QStringLiteral("< ffffffff8600110102030405060708000000010201000005"),
                                QStringLiteral("< ffffffff8600111112131415161718000000020201000005")};
        const auto row = [&](const char* name, const char* said, const char* heard) {
            const auto lines = [](const char* text) {
                return QString::fromLatin1(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            };
            QTest::newRow(name) << channels + lines(said) << given + lines(heard);
        };
        const char* cbor = "> 00000001 90 0001 04\n";
        row("each INIT on the broadcast channel gives a channel", "", "");
        row("PING and WINK", "> 00000001 81 0003 aabbcc\n> 00000002 88 0000", "< 00000001810003aabbcc\n< 0000000288");
        row("a request and its answer", "> 00000001 90 0001 04\nanswer ok", "request cbor 04\n< 000000019000026f6b");
        row("a U2F request", "> 00000002 83 0002 0003\nanswer no", "request u2f 0003\n< 000000028300026e6f");
        row("an unknown command", "> 00000001 a2 0000", "< 00000001bf000101");
        row("an empty request", "> 00000001 90 0000", "< 00000001bf000103");
        row("a length that no message has", "> 00000001 90 ffff 04", "< 00000001bf000103");
        row("INIT with a nonce that is too short", "> 00000001 86 0007", "< 00000001bf000103");
        row("channels that were never given", "> 00000009 90 0001 04\n> 00000000 86 0008\n> ffffffff 90 0001 04",
            "< 00000009bf00010b\n< 00000000bf00010b\n< ffffffffbf00010b");
        row("a report in the wrong order ends its message", "> 00000001 90 0064 01\n> 00000001 01 02\n> 00000001 00 02",
            "< 00000001bf000104");
        row("a second first report ends the message", "> 00000001 90 0064 01\n> 00000001 90 0001 04",
            "< 00000001bf000104");
        row("a message that stays incomplete times out", "> 00000001 90 0064 01\nwait 2999\nwait 1\n> 00000001 00 02",
            "< 00000001bf000105");
        row("each report gives a message new time", "> 00000001 90 0090 01\nwait 2999\n> 00000001 00 02\nwait 2999",
            "");
        row("another channel is told to wait, also while a message arrives",
            "> 00000001 90 0064 01\n> 00000002 90 0001 04\nwait 3000\n> 00000001 90 0001 04\n> 00000002 90 0001 "
            "04\nanswer "
            "ok",
            "< 00000002bf000106\n< 00000001bf000105\nrequest cbor 04\n< 00000002bf000106\n< 000000019000026f6b");
        row("a new channel can be had while one is busy",
            QByteArray(cbor + QByteArray("> ffffffff 86 0008 0102030405060708\nanswer ok")).constData(),
            "request cbor 04\n< ffffffff8600110102030405060708000000030201000005\n< 000000019000026f6b");
        row("keep-alives every 100 ms until the answer",
            QByteArray(cbor + QByteArray("wait 99\nwait 1\nwait 50\nwait 50\nanswer ok\nwait 500")).constData(),
            "request cbor 04\n< 00000001bb000102\n< 00000001bb000102\n< 000000019000026f6b");
        row("CANCEL is heard on its own channel only",
            QByteArray(cbor + QByteArray("> 00000002 91 0000\n> 00000001 91 0000\n> 00000001 91 0000\nanswer late"))
                .constData(),
            "request cbor 04\ncancel\n< 0000000190000963616e63656c6c6564");
        row("INIT on its channel gives a request up without an answer",
            QByteArray(cbor + QByteArray("> 00000001 86 0008 0102030405060708\n> 00000001 90 0001 04")).constData(),
            "request cbor 04\ncancel\n< 000000018600110102030405060708000000010201000005\nrequest cbor 04");
        row("a lock keeps the other channel out until it ends",
            "> 00000001 84 0001 02\n> 00000002 81 0001 aa\n> 00000001 81 0001 aa\nwait 2000\n> 00000002 81 0001 aa\n"
            "> 00000001 84 0001 0b",
            "< 0000000184\n< 00000002bf000106\n< 00000001810001aa\n< 00000002810001aa\n< 00000001bf000102");
        row("a reset forgets the channels", QByteArray(cbor + QByteArray("reset\n> 00000001 81 0001 aa")).constData(),
            "request cbor 04\ncancel\n< 00000001bf00010b");
    }

    void exchanges()
    {
        QFETCH(QStringList, said);
        QFETCH(QStringList, heard);
        Conversation conversation;
        for (const QString& line : said)
            conversation.say(line);
        QCOMPARE(conversation.heard.join(QLatin1Char('\n')), heard.join(QLatin1Char('\n')));
    }

    void carriesMessagesOfEveryLength_data()
    {
        QTest::addColumn<int>("length");
        for (const int length : {1, 57, 58, 116, 117, 7608, 7609})
            QTest::addRow("%d bytes", length) << length;
    }

    void carriesMessagesOfEveryLength()
    {
        QFETCH(int, length);
        QByteArray message(length, '\0');
        for (int i = 0; i < length; ++i)
            message[i] = char(i * 7 + 1);
        // The reports of an answer are those of a request: what the one end makes, the other takes.
        Conversation answering;
        answering.say(QStringLiteral("> ffffffff 86 0008"));
        answering.say(QStringLiteral("> 00000001 90 0001 04"));
        answering.reports.clear();
        answering.answer(message);
        QCOMPARE(int(answering.reports.size()), length <= 57 ? 1 : 1 + (length - 57 + 58) / 59);
        Conversation asked;
        asked.say(QStringLiteral("> ffffffff 86 0008"));
        for (const QByteArray& report : answering.reports)
            asked.say(QStringLiteral("> ") + QString::fromLatin1(report.toHex()));
        QCOMPARE(asked.last, message);
    }
};

PLUGBOARD_SUITE(CtapHidTest)
#include "ctap_hid_test.moc"
