#include "devices/parameter_list.h"

#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

Fido2Parameters key(const QString& usbVersionChoice, bool supportsPin)
{
    return {QStringLiteral("0x1234"),
            QStringLiteral(" 12 "),
            QStringLiteral("Key"),
            usbVersionChoice,
            QStringLiteral("SN1"),
            QString(),
            supportsPin};
}

} // namespace

class ParameterListTest : public QObject
{
    Q_OBJECT

private slots:
    void joinsExactly_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QString>("joined");
        const auto row = [](const char* name, const QStringList& list, const char* joined) {
            QTest::newRow(name) << list << QString::fromLatin1(joined);
        };

        row("key with USB 2.0 has flag 0, and an empty path stays a field",
            key(QStringLiteral("2.0"), true).parameterList(), "2\n0x1234\n 12 \nKey\n0\nSN1\n\n1\nEND");
        row("key with any other USB version has flag 1", key(QStringLiteral("2.0 "), false).parameterList(),
            "2\n0x1234\n 12 \nKey\n1\nSN1\n\n0\nEND");
        row("USB/IP device shares the microphone's code", usbIpParameterList(QStringLiteral("127.0.0.1")),
            "3\n1d6b\n0002\nUSBIP Device\n0200\n127.0.0.1:3240\n1-1\nEND");
        row("speaker", speakerParameterList(), "5\n1d6b\n0002\nSpeaker Device\n0200\n2\n44100\nEND");
        row("storage", storageParameterList(), "6\n1d6b\n0002\nUSB Storage Device\n0200\n1024\nFAT32\nEND");
        row("keyboard", keyboardParameterList(), "7\n1d6b\n0002\nKeyboard Device\n0200\n104\nUSB HID\nEND");
    }

    void joinsExactly()
    {
        QFETCH(QStringList, list);
        QTEST(joinParameters(list), "joined");
    }
};

PLUGBOARD_SUITE(ParameterListTest)
#include "parameter_list_test.moc"
