#include "emulation/hid/keyboard.h"
#include "emulation/hid/mouse.h"
#include "tests/emulation/function_host.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

usb::DeviceDescriptors identity()
{
    usb::DeviceDescriptors descriptors;
    descriptors.idVendor = 0x1D6B;
    descriptors.idProduct = 2;
    descriptors.manufacturer = QStringLiteral("Plugboard");
    descriptors.product = QStringLiteral("Device");
    return descriptors;
}

template<typename Device>
struct Plugged
{
    Plugged() : function(identity()), host(function)
    {
        host.configure();
        // As hosts do: only changes are told.
        host.control(QStringLiteral("210a000000000000"));
    }

    /// Polls once and waits for the report.
    QByteArray poll()
    {
        const std::uint32_t number = host.in(0x81, 64);
        if (!QTest::qWaitFor([&] { return host.isDone(number); }))
            return "no report";
        return host.data(number);
    }

    /// Reports, in hexadecimal, that a command brings.
    QString reportsOf(const QString& command, int count)
    {
        const QString answer = function.run(command);
        if (!answer.startsWith(QLatin1String("OK: ")))
            return answer;
        QStringList reports;
        for (int report = 0; report < count; ++report)
            reports << QLatin1String(poll().toHex());
        return reports.join(QLatin1Char(' '));
    }

    bool hasNothingWaiting() const { return function.status().contains(QStringLiteral("0 reports wait")); }

    Device function;
    FunctionHost host;
};

using PluggedKeyboard = Plugged<hid::Keyboard>;
using PluggedMouse = Plugged<hid::Mouse>;

void addSetupRow(const char* name, const char* setup, const char* result)
{
    QTest::newRow(name) << QString::fromUtf8(setup) << QString::fromUtf8(result);
}

} // namespace

/// Keyboard and mouse, as a host that polls them sees them.
class HidTest : public QObject
{
    Q_OBJECT

private slots:
    void hasFaultlessDescriptors()
    {
        QCOMPARE(usb::faultsOf(hid::Keyboard(identity()).descriptors()), {});
        QCOMPARE(usb::faultsOf(hid::Mouse(identity()).descriptors()), {});
        const auto keyboard = hid::reportSizes(hid::Keyboard::reportDescriptor());
        QCOMPARE(keyboard.fault(), QString());
        QCOMPARE(keyboard.value().input, 8);
        QCOMPARE(keyboard.value().output, 1);
        const auto mouse = hid::reportSizes(hid::Mouse::reportDescriptor());
        QCOMPARE(mouse.fault(), QString());
        QCOMPARE(mouse.value().input, 4);
        QCOMPARE(mouse.value().output, 0);
    }

    void findsFaultsOfReportDescriptors_data()
    {
        QTest::addColumn<QByteArray>("descriptor");
        const auto addRow = [](const char* name, const char* descriptor) {
            QTest::newRow(name) << QByteArray::fromHex(descriptor);
        };
        addRow("a collection ends twice", "a1017508950181 00c0c0");
        addRow("fields outside a collection", "750895018100a101c0");
        addRow("a report ends inside a byte", "a101750795018100c0");
        addRow("fields without a size", "a10195018100c0");
        addRow("a report longer than any", "a1017720000000 97ffffffff 8100c0");
    }

    void findsFaultsOfReportDescriptors()
    {
        QFETCH(QByteArray, descriptor);
        QVERIFY(!hid::reportSizes(descriptor));
        const QByteArray keyboard = hid::Keyboard::reportDescriptor();
        for (int size = 0; size < keyboard.size(); ++size)
            QVERIFY2(!hid::reportSizes(keyboard.left(size)), qPrintable(QStringLiteral("cut to %1 bytes").arg(size)));
    }

    void answersRequests_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("result");
        addSetupRow("HID descriptor", "81 06 00 21 00 00 09 00", "ok 092111010001223f00");
        addSetupRow("second report descriptor", "81 06 01 22 00 00 40 00", "stall");
        addSetupRow("report descriptor of another interface", "81 06 00 22 01 00 40 00", "stall");
        addSetupRow("input report", "a1 01 00 01 00 00 08 00", "ok 0000000000000000");
        addSetupRow("output report", "a1 01 00 02 00 00 01 00", "ok 00");
        addSetupRow("feature report", "a1 01 00 03 00 00 08 00", "stall");
        addSetupRow("input report with an id", "a1 01 01 01 00 00 08 00", "stall");
        addSetupRow("idle", "a1 02 00 00 00 00 01 00", "ok 00");
        addSetupRow("set idle of a report id", "21 0a 01 05 00 00 00 00", "stall");
        addSetupRow("protocol", "a1 03 00 00 00 00 01 00", "ok 01");
        addSetupRow("third protocol", "21 0b 02 00 00 00 00 00", "stall");
        addSetupRow("set report without data", "21 09 00 02 00 00 00 00", "stall");
        addSetupRow("request that HID has not", "a1 0c 00 00 00 00 01 00", "stall");
        addSetupRow("get request the wrong way", "21 01 00 01 00 00 00 00", "stall");
        addSetupRow("request to the device", "a0 01 00 01 00 00 08 00", "stall");
        addSetupRow("vendor request", "c1 01 00 01 00 00 08 00", "stall");
    }

    void answersRequests()
    {
        QFETCH(QString, setup);
        QFETCH(QString, result);
        PluggedKeyboard keyboard;
        QCOMPARE(keyboard.host.control(setup), result);
        QCOMPARE(keyboard.host.control(QStringLiteral("8106002200004000")),
                 QStringLiteral("ok ") + QLatin1String(hid::Keyboard::reportDescriptor().left(64).toHex()));
    }

    void sendsKeys_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("reports");
        const auto addRow = [](const char* name, const char* command, const char* reports,
                               const QStringList& before = {}) {
            QTest::newRow(name) << before << QString::fromUtf8(command) << QString::fromUtf8(reports);
        };
        addRow("a capital has Shift", "type aB", "0000040000000000 0000000000000000 0200050000000000 0000000000000000");
        addRow("a letter twice is released between", "type ll",
               "00000f0000000000 0000000000000000 00000f0000000000 0000000000000000");
        addRow("signs of the number row and spaces within", "type ! 0",
               "02001e0000000000 0000000000000000 00002c0000000000 0000000000000000 0000270000000000 0000000000000000");
        addRow("last keys of the layout", "type ~?",
               "0200350000000000 0000000000000000 0200380000000000 0000000000000000");
        addRow("combination", "key ctrl+Alt+Delete", "05004c0000000000 0000000000000000");
        addRow("function key and right modifier", "key rgui+f12", "8000450000000000 0000000000000000");
        addRow("what is held stays under a letter", "type a", "0200040000000000 0200000000000000",
               {QStringLiteral("hold shift")});
        addRow("one of two held keys is released", "release a", "0000050000000000", {QStringLiteral("hold a+b")});
        addRow("all held keys are released", "release", "0000000000000000", {QStringLiteral("hold a+ctrl")});
        addRow("six keys fit", "hold a+b+c+d+e+f", "0000040506070809");
        addRow("seven keys roll over, modifiers do not", "hold a+b+c+d+e+f+g+shift", "0200010101010101");
    }

    void sendsKeys()
    {
        QFETCH(QStringList, before);
        QFETCH(QString, command);
        QFETCH(QString, reports);
        PluggedKeyboard keyboard;
        for (const QString& each : before)
            keyboard.reportsOf(each, 1);
        QCOMPARE(keyboard.reportsOf(command, reports.count(QLatin1Char(' ')) + 1), reports);
        QVERIFY2(keyboard.hasNothingWaiting(), qPrintable(keyboard.function.status()));
    }

    void losesNothingOfALongText()
    {
        PluggedKeyboard keyboard;
        QString text;
        for (char letter = ' '; letter <= '~'; ++letter)
            text += QLatin1Char(letter);
        QVERIFY(keyboard.function.run(QStringLiteral("type ") + text).startsWith(QLatin1String("OK: 95 letters")));
        QString typed;
        for (int report = 0; report < 2 * text.size(); ++report) {
            const QByteArray bytes = keyboard.poll();
            for (const QChar letter : text) {
                const auto stroke = hid::strokeOf(letter.unicode());
                if (bytes[2] == char(stroke->usage) && bytes[0] == (stroke->shift ? 2 : 0))
                    typed += letter;
            }
        }
        QCOMPARE(typed, text);
    }

    void refusesKeyboardCommands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("named");
        const auto addRow = [](const char* name, const char* command, const char* named) {
            QTest::newRow(name) << QString::fromUtf8(command) << QString::fromUtf8(named);
        };
        addRow("letter without a key", "type Größe", "\"ö\"");
        addRow("letter beyond 16 bits", "type a𝄞", "\"𝄞\"");
        addRow("control character", "type a\tb", "\"\t\"");
        addRow("nothing to type", "type", "nothing to type");
        addRow("unknown key", "key ctrl+fn", "\"fn\"");
        addRow("missing key", "key ctrl+", "\"\"");
        addRow("function key that there is not", "key f13", "\"f13\"");
        addRow("key by its shifted character", "key !", "\"!\"");
        addRow("unknown command", "push a", "type TEXT");
    }

    void refusesKeyboardCommands()
    {
        QFETCH(QString, command);
        QFETCH(QString, named);
        PluggedKeyboard keyboard;
        const QString answer = keyboard.function.run(command);
        QVERIFY2(answer.startsWith(QLatin1String("ERROR: ")) && answer.contains(named), qPrintable(answer));
        QVERIFY(keyboard.hasNothingWaiting());
    }

    void takesLedsBothWays()
    {
        PluggedKeyboard keyboard;
        QCOMPARE(keyboard.host.control(QStringLiteral("2109000200000100"), "\2"), QStringLiteral("ok"));
        QVERIFY(keyboard.function.status().startsWith(QLatin1String("LEDs: caps;")));
        QCOMPARE(keyboard.host.result(keyboard.host.out(2, "\5")), QStringLiteral("ok"));
        QVERIFY(keyboard.function.status().startsWith(QLatin1String("LEDs: num scroll;")));
        QCOMPARE(keyboard.host.control(QStringLiteral("a101000200000100")), QStringLiteral("ok 05"));
        QCOMPARE(keyboard.host.result(keyboard.host.out(2, "ab")), QStringLiteral("stall"));
    }

    void moves_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("reports");
        const auto addRow = [](const char* name, const char* command, const char* reports) {
            QTest::newRow(name) << QString::fromUtf8(command) << QString::fromUtf8(reports);
        };
        addRow("right and up", "move 5 -7", "0005f900");
        addRow("nowhere is a report too", "move 0 0", "00000000");
        addRow("as far as one report goes", "move 127 -127", "007f8100");
        addRow("a little farther", "move 128 0", "00400000 00400000");
        addRow("click", "click middle", "04000000 00000000");
        addRow("fifth button", "click Forward", "10000000 00000000");
        addRow("wheel up", "wheel 3", "00000003");
        addRow("wheel farther down", "wheel -200", "0000009c 0000009c");
    }

    void moves()
    {
        QFETCH(QString, command);
        QFETCH(QString, reports);
        PluggedMouse mouse;
        QCOMPARE(mouse.reportsOf(command, reports.count(QLatin1Char(' ')) + 1), reports);
        QVERIFY(mouse.hasNothingWaiting());
    }

    void goesStraight()
    {
        PluggedMouse mouse;
        mouse.reportsOf(QStringLiteral("hold left"), 1);
        QCOMPARE(mouse.function.run(QStringLiteral("move 1000 -333")), QStringLiteral("OK: 8 reports"));
        int x = 0;
        int y = 0;
        for (int report = 0; report < 8; ++report) {
            const QByteArray bytes = mouse.poll();
            QCOMPARE(bytes[0], '\1');
            x += qint8(bytes[1]);
            y += qint8(bytes[2]);
            QVERIFY2(qAbs(y * 1000 + x * 333) <= 2000, "the pointer leaves the line");
        }
        QCOMPARE(x, 1000);
        QCOMPARE(y, -333);
        QCOMPARE(mouse.reportsOf(QStringLiteral("release"), 1), QStringLiteral("00000000"));
    }

    void refusesMouseCommands_data()
    {
        QTest::addColumn<QString>("command");
        for (const char* command : {"move 1", "move 1 2 3", "move a b", "move 1 99999999999", "move 2000000 0", "wheel",
                                    "wheel 1.5", "click", "click side", "hold", "release left right", "type a"})
            QTest::newRow(command) << QString::fromLatin1(command);
    }

    void refusesMouseCommands()
    {
        QFETCH(QString, command);
        PluggedMouse mouse;
        const QString answer = mouse.function.run(command);
        QVERIFY2(answer.startsWith(QLatin1String("ERROR: ")), qPrintable(answer));
        QVERIFY(mouse.hasNothingWaiting());
    }

    void keepsTheBootProtocol()
    {
        PluggedMouse mouse;
        mouse.host.control(QStringLiteral("210b000000000000"));
        QCOMPARE(mouse.host.control(QStringLiteral("a103000000000100")), QStringLiteral("ok 00"));
        QCOMPARE(mouse.reportsOf(QStringLiteral("move 1 2"), 1), QStringLiteral("000102"));
        // The state that is repeated or asked for moves nothing.
        QCOMPARE(mouse.host.control(QStringLiteral("a101000100000400")), QStringLiteral("ok 000000"));
        mouse.host.configure();
        QCOMPARE(mouse.host.control(QStringLiteral("a103000000000100")), QStringLiteral("ok 01"));
    }

    void repeatsTheStateOnlyWhenIdleIsSet()
    {
        PluggedKeyboard silent;
        PluggedKeyboard repeating;
        for (PluggedKeyboard* keyboard : {&silent, &repeating})
            QCOMPARE(keyboard->reportsOf(QStringLiteral("hold a"), 1), QStringLiteral("0000040000000000"));
        const std::uint32_t unanswered = silent.host.in(0x81, 8);
        repeating.host.control(QStringLiteral("210a000200000000")); // 8 ms
        QCOMPARE(repeating.host.control(QStringLiteral("a102000000000100")), QStringLiteral("ok 02"));
        for (int repeat = 0; repeat < 3; ++repeat)
            QCOMPARE(repeating.poll().toHex(), QByteArray("0000040000000000"));
        QVERIFY(!silent.host.isDone(unanswered));
        silent.host.control(QStringLiteral("210a000100000000"));
        QTRY_COMPARE(silent.host.result(unanswered), QStringLiteral("ok 0000040000000000"));
    }

    void boundsWhatWaits()
    {
        PluggedMouse mouse;
        const QString most = QStringLiteral("move %1 0").arg(127 * hid::InputPipe::kCapacity);
        QVERIFY(mouse.function.run(most).startsWith(QLatin1String("OK: ")));
        const QString answer = mouse.function.run(QStringLiteral("click left"));
        QVERIFY2(answer.startsWith(QLatin1String("ERROR: The host has not fetched")), qPrintable(answer));
    }

    void forgetsOnReset()
    {
        PluggedKeyboard keyboard;
        keyboard.function.run(QStringLiteral("hold a"));
        keyboard.host.out(2, "\1");
        keyboard.host.device().reset();
        QCOMPARE(keyboard.function.run(QStringLiteral("type a")),
                 QStringLiteral("ERROR: No host uses the device yet."));
        QVERIFY(keyboard.function.status().startsWith(QLatin1String("LEDs: none; held: none; 0 reports wait")));
    }

    void keepsAReportWhoseTransferIsTakenBack()
    {
        PluggedKeyboard keyboard;
        keyboard.reportsOf(QStringLiteral("hold a"), 1);
        const std::uint32_t taken = keyboard.host.in(0x81, 8);
        keyboard.host.device().cancel(taken);
        QCOMPARE(keyboard.host.result(taken), QStringLiteral("cancelled"));
        QCOMPARE(keyboard.reportsOf(QStringLiteral("hold b"), 1), QStringLiteral("0000040500000000"));
    }
};

PLUGBOARD_SUITE(HidTest)
#include "hid_test.moc"
