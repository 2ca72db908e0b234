#include "devices/parameter_list.h"

#include "tests/support/suite_registry.h"

#include <QtTest>

class ParameterListTest : public QObject
{
    Q_OBJECT

private slots:
    void joinsExactly_data();
    void joinsExactly();
};

namespace {

CameraParameters camera(const QString& resolution)
{
    return {QStringLiteral("0x1234"),
            QStringLiteral("0xABCD"),
            QStringLiteral("Cam 1"),
            QStringLiteral("1"),
            QStringLiteral("rtsp://127.0.0.1/x"),
            27,
            -1,
            resolution,
            QStringLiteral("30"),
            QStringLiteral("0x0150"),
            true};
}

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

void ParameterListTest::joinsExactly_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("joined");
    const auto row = [](const char* name, const QStringList& list, const char* joined) {
        QTest::newRow(name) << list << QString::fromLatin1(joined);
    };

    row("camera with a resolution that is split", cameraParameterList(camera(QStringLiteral("1920x1080"))),
        "1\n0x1234\n0xABCD\nCam 1\n1\nrtsp://127.0.0.1/x\n27\n-1\n1920\n1080\n30\n0x0150\n1\nEND");
    row("camera whose resolution has no x gives the whole text twice",
        cameraParameterList(camera(QStringLiteral("auto"))),
        "1\n0x1234\n0xABCD\nCam 1\n1\nrtsp://127.0.0.1/x\n27\n-1\nauto\nauto\n30\n0x0150\n1\nEND");
    row("camera whose resolution has two x is cut at the outer ones",
        cameraParameterList(camera(QStringLiteral("1x2x3"))),
        "1\n0x1234\n0xABCD\nCam 1\n1\nrtsp://127.0.0.1/x\n27\n-1\n1\n3\n30\n0x0150\n1\nEND");
    row("camera left empty keeps every field", cameraParameterList({}), "1\n\n\n\n\n\n0\n-1\n\n\n\n\n0\nEND");
    row("key with USB 2.0 has flag 0, and an empty path stays a field",
        fido2ParameterList(key(QStringLiteral("2.0"), true)), "2\n0x1234\n 12 \nKey\n0\nSN1\n\n1\nEND");
    row("key with any other USB version has flag 1", fido2ParameterList(key(QStringLiteral("2.0 "), false)),
        "2\n0x1234\n 12 \nKey\n1\nSN1\n\n0\nEND");
    row("microphone over the network",
        microphoneParameterList({QStringLiteral("0x1"), QStringLiteral("0x2"), QStringLiteral("Mic"),
                                 QStringLiteral("0"), QStringLiteral("2.0"), true,
                                 QStringLiteral("http://127.0.0.1:80/audio.aac"), 1, 48000, true}),
        "3\n0x1\n0x2\nMic\n0\n2.0\n1\nhttp://127.0.0.1:80/audio.aac\n1\n48000\n1\nEND");
    row("USB/IP device shares the microphone's code", usbIpParameterList(QStringLiteral("127.0.0.1")),
        "3\n1d6b\n0002\nUSBIP Device\n0200\n127.0.0.1:3240\n1-1\nEND");
    row("speaker", speakerParameterList(), "5\n1d6b\n0002\nSpeaker Device\n0200\n2\n44100\nEND");
    row("storage", storageParameterList(), "6\n1d6b\n0002\nUSB Storage Device\n0200\n1024\nFAT32\nEND");
    row("keyboard", keyboardParameterList(), "7\n1d6b\n0002\nKeyboard Device\n0200\n104\nUSB HID\nEND");
}

void ParameterListTest::joinsExactly()
{
    QFETCH(QStringList, list);
    QTEST(joinParameters(list), "joined");
}

PLUGBOARD_SUITE(ParameterListTest)
#include "parameter_list_test.moc"
