#include "tests/dialogs/values.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QtTest>

namespace {

/// What a script gives, ";" between settings, and the values or the error that come out. CWD is the current folder.
void row(const char* name, const char* given, const char* result)
{
    const auto text = [](const char* t) {
        return QString::fromUtf8(t).replace(QLatin1String("CWD"), QDir::currentPath());
    };
    QTest::newRow(name) << text(given) << text(result);
}

void columns()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("result");
}

template<typename Settings>
QString outcome(const SettingsReading<Settings>& reading)
{
    return reading.settings ? valuesOf(*reading.settings) : QStringLiteral("error: ") + reading.error;
}

} // namespace

class SettingRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void readsCameras_data()
    {
        columns();
        row("defaults are the dialog's", "source=", "0x1234|0x5678|UVC Camera|0||7|-1|640x480|25|0x0100|bulk");
        row("every setting",
            "vid=0xA;pid=0xbeef;name=a=b;usb=3.0;source=CWD/"
            "v.mp4;format=NV12;resolution=1280x720;rate=60;uvc=1.5;iso=on",
            "0xA|0xbeef|a=b|1|CWD/v.mp4|0|23|1280x720|60|0x0150|iso");
        row("a relative file counts from the script's folder", "source=clips/../clip.mp4",
            "0x1234|0x5678|UVC Camera|0|CWD/clip.mp4|7|-1|640x480|25|0x0100|bulk");
        row("a URL is left alone", "source=http://127.0.0.1/a/../b",
            "0x1234|0x5678|UVC Camera|0|http://127.0.0.1/a/../b|7|-1|640x480|25|0x0100|bulk");
        row("an address chooses the IP camera", "address=127.0.0.2;port=81",
            "0x1234|0x5678|UVC Camera|0|http://127.0.0.2:81/video|7|-1|640x480|25|0x0100|iso");
        row("iso counts wherever it stands", "iso=off;port=81",
            "0x1234|0x5678|UVC Camera|0|http://127.0.0.1:81/video|7|-1|640x480|25|0x0100|bulk");
        row("H.264 forces its UVC version", "format=H264;uvc=1.0",
            "0x1234|0x5678|UVC Camera|0||27|-1|640x480|25|0x0150|bulk");

        row("unknown names are named with those that exist", "colour=red",
            "error: Unknown setting 'colour'; there are source, address, port, resolution, rate, format, uvc, usb, "
            "vid, "
            "pid, name, iso.");
        row("a word without a value", "iso", "error: 'iso' is not of the form NAME=VALUE.");
        row("twice the same", "rate=25;rate=30", "error: Setting 'rate' is given twice.");
        row("an id without prefix", "vid=1234",
            "error: '1234' is no value for vid; expected 0x and one to four hexadecimal digits.");
        row("port 65536", "port=65536", "error: '65536' is no value for port; expected a number from 1 to 65535.");
        row("a size of three numbers", "resolution=1x2x3",
            "error: '1x2x3' is no value for resolution; expected WIDTHxHEIGHT in pixels, each from 1 to 16384.");
        row("a size above the limit", "resolution=1x16385",
            "error: '1x16385' is no value for resolution; expected WIDTHxHEIGHT in pixels, each from 1 to 16384.");
        row("a format in other letters", "format=mjpeg",
            "error: 'mjpeg' is no value for format; expected MJPEG, YUV420P, NV12, H264 or H265.");
        row("a switch that is neither", "iso=1", "error: '1' is no value for iso; expected on or off.");
        row("a name that would add a field", "name=a\nb",
            "error: 'a\nb' is no value for name; expected a text on one line, not an empty one.");
        row("a rate that would add a field", "rate=25\n",
            "error: '25\n' is no value for rate; expected frames a second from 1 to 1000.");
        row("a file beside a stream", "source=a;address=127.0.0.1",
            "error: 'source' does not go with 'address' and 'port'.");
        row("raw pictures beyond USB 2.0", "format=NV12;resolution=1920x1080",
            "error: USB 2.0 cannot carry NV12 pictures of 1920x1080 25 times a second; it carries at most 17, or "
            "1588x892 "
            "at "
            "25.");
        row("isochronous pictures beyond USB 2.0", "resolution=1920x1080;rate=60;iso=on",
            "error: USB 2.0 cannot carry MJPEG pictures of 1920x1080 60 times a second isochronously; it carries at "
            "most "
            "46, "
            "or 1696x954 at 60.");
        row("what USB 3.0 carries", "format=NV12;resolution=1920x1080;rate=120;usb=3.0;iso=on",
            "0x1234|0x5678|UVC Camera|1||0|23|1920x1080|120|0x0100|iso");
        row("a stream from nowhere", "address=", "error: Please enter IP address and port");
    }

    void readsCameras()
    {
        QFETCH(QString, given);
        QTEST(outcome(cameraSettingsFrom(given.split(QLatin1Char(';')))), "result");
    }

    void readsMicrophones_data()
    {
        columns();
        row("defaults are the dialog's", "realtime=off",
            "1d6b|0002|USB Microphone|0|1.0|-|test_audio.wav|2|48000|loop");
        row("every setting", "vid=ABCD;pid=00ff;name=m;usb=3.0;uac=1.0;realtime=on;source=CWD/a.wav;loop=off",
            "ABCD|00ff|m|1|1.0|rt|CWD/a.wav|2|48000|once");
        row("an address chooses the stream", "port=81",
            "1d6b|0002|USB Microphone|0|1.0|-|http://127.0.0.1:81/audio.aac|2|48000|loop");
        row("UAC 2.0 brings USB 3.0 along", "uac=2.0", "1d6b|0002|USB Microphone|1|2.0|-|test_audio.wav|2|48000|loop");

        row("what the dialog locks cannot be set", "channels=4",
            "error: Unknown setting 'channels'; there are source, address, port, usb, uac, realtime, loop, vid, pid, "
            "name.");
        row("UAC 2.0 does not go with USB 2.0", "usb=2.0;uac=2.0", "error: UAC 2.0 needs USB 3.0.");
        row("UAC 2.0 does not go with a stream", "uac=2.0;port=81", "error: A source in the network has UAC 1.0.");
        row("an id of three digits", "vid=1d6", "error: '1d6' is no value for vid; expected four hexadecimal digits.");
        row("an empty name, with a file or a stream", "name=;address=127.0.0.1",
            "error: '' is no value for name; expected a text on one line, not an empty one.");
        row("an empty file", "source=", "error: Please select an audio file.");
        row("a version that is none", "uac=3.0", "error: '3.0' is no value for uac; expected 1.0 or 2.0.");
    }

    void readsMicrophones()
    {
        QFETCH(QString, given);
        QTEST(outcome(microphoneSettingsFrom(given.split(QLatin1Char(';')))), "result");
    }

    void makeTheirLists()
    {
        const auto camera = [](const QString& resolution) {
            CameraSettings settings;
            settings.path = QStringLiteral("a.mp4");
            settings.frameFormat = QStringLiteral("H264");
            settings.isochronousActive = true;
            settings.resolution = resolution;
            return settings.parameterList().join(QLatin1Char('|'));
        };
        const QString list = QStringLiteral("1|0x1234|0x5678|UVC Camera|0|a.mp4|27|-1|%1|25|0x0150|1|END");
        QCOMPARE(camera(QStringLiteral("1920x1080")), list.arg(QStringLiteral("1920|1080")));
        QCOMPARE(camera(QStringLiteral("auto")), list.arg(QStringLiteral("auto|auto")));
        QCOMPARE(camera(QStringLiteral("1x2x3")), list.arg(QStringLiteral("1|3")));
        MicrophoneSettings microphone;
        microphone.realTime = true;
        microphone.channels = 1;
        QCOMPARE(microphone.parameterList().join(QLatin1Char('|')),
                 QStringLiteral("3|1d6b|0002|USB Microphone|0|1.0|1|test_audio.wav|1|48000|1|END"));
    }
};

PLUGBOARD_SUITE(SettingRulesTest)
#include "setting_rules_test.moc"
