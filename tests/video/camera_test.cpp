#include "tests/media/media_files.h"
#include "tests/support/suite_registry.h"
#include "tests/video/camera_host.h"
#include "tests/video/film_packets.h"

#include <QtTest>

namespace {

constexpr int kMjpeg = 7;
constexpr int kH264 = 27;
constexpr int kPatience = 60000; // ms

} // namespace

/// A camera by itself, whose host is the test.
class CameraTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void everyCameraHasFaultlessDescriptors()
    {
        const std::vector<std::pair<int, int>> formats{{kMjpeg, -1}, {kH264, -1}, {173, -1}, {0, 0}, {0, 23}};
        for (const auto& [codec, pixels] : formats)
            for (const char* version : {"0x0100", "0x0150"})
                for (const int flags : {0, 1, 2, 3}) {
                    const bool isSuper = (flags & 2) != 0;
                    const auto device =
                        cameraDescription({}, codec, pixels, 641, 481, 15, version, (flags & 1) != 0, isSuper);
                    const auto setup = uvc::cameraSetup(device);
                    QVERIFY2(setup, qPrintable(setup.fault()));
                    const usb::DeviceDescriptors descriptors =
                        uvc::cameraDescriptors(cameraIdentity(isSuper), setup.value(), 0x040B);
                    const auto faults =
                        usb::faultsOfBytes(usb::deviceDescriptor(descriptors),
                                           usb::configurationDescriptor(descriptors), descriptors.speed);
                    QVERIFY2(faults.empty(), qPrintable(faults.empty() ? QString() : faults.front()));
                }
    }

    void refusesWhatNoCameraShows_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<int>("rate");
        QTest::addColumn<bool>("isIsochronous");
        QTest::addColumn<QString>("fault");
        const auto row = [](const char* name, int codec, int rate, bool isIsochronous, const char* fault) {
            QTest::newRow(name) << codec << rate << isIsochronous << QString::fromLatin1(fault);
        };
        row("as much as bulk carries", 0, 17, false, "");
        row("more than bulk carries", 0, 18, false,
            "USB 2.0 cannot carry NV12 pictures of 1920x1080 18 times a second; it carries at most 17, or 1872x1052 at "
            "18.");
        row("less isochronously", 0, 8, true,
            "USB 2.0 cannot carry NV12 pictures of 1920x1080 8 times a second isochronously; it carries at most 7, or "
            "1896x1066 at 8.");
        row("a codec that is not offered", 139, 30, false,
            "No camera shows pictures of codec 139 and pixel format 23.");
    }

    void refusesWhatNoCameraShows()
    {
        QFETCH(int, codec);
        QFETCH(int, rate);
        QFETCH(bool, isIsochronous);
        QTEST(uvc::cameraSetup(cameraDescription({}, codec, 23, 1920, 1080, rate, "0x0100", isIsochronous)).fault(),
              "fault");
    }

    void answersRequests_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("error"); // what the request error code control of the interface says then
        const auto row = [](const char* name, int codec, const char* setup, const char* data, const char* answer,
                            const char* error) {
            QTest::newRow(name) << codec << QString::fromLatin1(setup) << QString::fromLatin1(data)
                                << QString::fromLatin1(answer) << QString::fromLatin1(error);
        };
        const QByteArray probe = QByteArray("01000101") + "801a0600" + QByteArray(36, '0');
        row("a probe of 26 bytes is told by 1.0", kMjpeg, "A185000101000200", "", "1a00", "00");
        row("and one of 48 by 1.5", kH264, "A185000101000200", "", "3000", "00");
        for (const int length : {26, 34, 48}) {
            const QByteArray name = "a probe of " + QByteArray::number(length) + " bytes is taken";
            const QByteArray setup = "2101000101" + QByteArray("00") + QByteArray::number(length, 16) + "00";
            row(name.constData(), kMjpeg, setup.constData(),
                (probe + QByteArray(length * 2, '0')).left(length * 2).constData(), "", "00");
        }
        row("one of 27 is not", kMjpeg, "2101000101001B00", QByteArray(54, '0').constData(), "stall", "07");
        row("another format is not committed to", kMjpeg, "2101000201001A00",
            ("01000201801a0600" + QByteArray(36, '0')).constData(), "stall", "04");
        row("another rate is not committed to", kMjpeg, "2101000201001A00",
            ("0100010115160500" + QByteArray(36, '0')).constData(), "stall", "04");
        row("a control of the stream that is not there", kMjpeg, "A181000301000200", "", "stall", "06");
        row("least brightness", 0, "A182000200020200", "", "81ff", "00");
        row("brightness beyond its end", 0, "2101000200020200", "8000", "stall", "04");
        row("brightness of what is compressed", kMjpeg, "A181000200020200", "", "stall", "06");
        row("60 Hz", kMjpeg, "2101000500020100", "02", "", "00");
        row("a frequency found out by itself, in 1.0", kMjpeg, "2101000500020100", "03", "stall", "04");
        row("a unit that is not there", kMjpeg, "A181000200070200", "", "stall", "05");
        row("what a choice has not", kMjpeg, "A182000500020100", "", "stall", "07");
    }

    void answersRequests()
    {
        QFETCH(int, codec);
        QFETCH(QString, setup);
        QFETCH(QString, data);
        CameraHost host(cameraDescription({}, codec, codec == 0 ? 23 : -1, 160, 120, 25), 1024);
        const QByteArray answer = host.control(setup.toLatin1().constData(), QByteArray::fromHex(data.toLatin1()));
        QTEST(answer == "stall" ? QStringLiteral("stall") : QString::fromLatin1(answer.toHex()), "answer");
        const bool isStreaming = setup.mid(8, 2) == QLatin1String("01");
        const QByteArray error = host.control(isStreaming ? "A181000601000100" : "A181000200000100");
        QTEST(QString::fromLatin1(error.toHex()), "error");
    }

    void sendsPicturesWhole_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<bool>("isIsochronous");
        QTest::addColumn<bool>("isSuperSpeed");
        QTest::newRow("bulk") << 16384 << false << false;
        QTest::newRow("bulk at SuperSpeed") << 32768 << false << true;
        QTest::newRow("bulk, a payload over many transfers") << 512 << false << false;
        QTest::newRow("packets of the smallest setting") << 128 << true << false;
        QTest::newRow("packets at SuperSpeed") << 49152 << true << true;
    }

    /// Every picture of the file comes, each as it is, under alternating ids.
    void sendsPicturesWhole()
    {
        QFETCH(int, bytes);
        QFETCH(bool, isIsochronous);
        QFETCH(bool, isSuperSpeed);
        const QString film = mediaFile("mjpeg.avi");
        CameraHost host(cameraDescription(film, kMjpeg, -1, 160, 120, 25, "0x0100", isIsochronous, isSuperSpeed),
                        std::uint32_t(bytes));
        const std::vector<QByteArray> packets = packetsOf(film);
        QCOMPARE(packets.size(), std::size_t(30));
        host.start(isIsochronous ? 64 : 4);
        QTRY_VERIFY_WITH_TIMEOUT(host.pictures.size() >= 35, kPatience);
        host.stop();
        QCOMPARE(host.fault, QString());
        for (std::size_t i = 0; i < 35; ++i)
            QVERIFY2(host.pictures[i].bytes == packets[i % packets.size()], qPrintable(QString::number(i)));
    }

    void pauseRepeatsThePicture()
    {
        CameraHost host(cameraDescription(mediaFile("mjpeg.avi"), kMjpeg, -1, 160, 120, 25), 16384);
        host.start(4);
        QTRY_VERIFY_WITH_TIMEOUT(host.pictures.size() >= 2, kPatience);
        host.camera().run(QStringLiteral("pause"));
        const std::size_t before = host.pictures.size() + 8; // those that were on their way
        QTRY_VERIFY_WITH_TIMEOUT(host.pictures.size() >= before + 5, kPatience);
        const QByteArray frozen = host.pictures[before].bytes;
        QVERIFY(std::all_of(host.pictures.begin() + int(before), host.pictures.end(),
                            [&](const CameraHost::Picture& picture) { return picture.bytes == frozen; }));
        host.camera().run(QStringLiteral("play"));
        QTRY_VERIFY_WITH_TIMEOUT(host.pictures.back().bytes != frozen, kPatience);
    }

    void takesCommands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("answer");
        const auto row = [](const char* command, const char* answer) {
            QTest::newRow(command) << QString::fromLatin1(command) << QString::fromLatin1(answer);
        };
        row("source", "ERROR: source takes the whole path of a file, or a URL.");
        row("source film.avi", "ERROR: source takes the whole path of a file, or a URL.");
        row("source /no/film.avi", "ERROR: There is no file /no/film.avi.");
        row("source http://127.0.0.1:9/video", "OK: source http://127.0.0.1:9/video");
        row("pause", "OK: paused");
        row("seek 1", "ERROR: The source is not being played.");
        row("seek -1", "ERROR: seek takes seconds from the beginning, 0 or more.");
        row("ImgX, 12", "OK: Image X position set to 12");
        row("imgm,9", "ERROR: Invalid scale mode. Use: 0/STRETCH, 1/ASPECT_FIT, or 2/PADDING");
        row("zoom",
            "ERROR: A camera knows: source FILE, pause, play, seek SECONDS, status; ImgX, ImgY, ImgMX, ImgMY, ImgWS, "
            "ImgHS, ImgM.");
    }

    void takesCommands()
    {
        QFETCH(QString, command);
        CameraHost host(cameraDescription(mediaFile("mjpeg.avi"), kMjpeg, -1, 160, 120, 25), 16384);
        QTEST(host.camera().run(command), "answer");
    }
};

PLUGBOARD_SUITE(CameraTest)
#include "camera_test.moc"
