#include "emulation/video/no_signal.h"
#include "emulation/video/processing_unit.h"
#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/encoder_choice.h"
#include "media/picture.h"
#include "tests/media/encoders_at_hand.h"
#include "tests/support/suite_registry.h"
#include "tests/video/camera_host.h"

#include <QtTest>

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kBright = 200;

struct LastFrame final : AVSourceSink
{
    bool pushFrame(AVFrame* pushed) override
    {
        frame.reset(av_frame_clone(pushed));
        return true;
    }
    bool pushPacket(AVPacket* packet) override
    {
        packets.push_back(std::make_shared<std::vector<std::uint8_t>>(packet->data, packet->data + packet->size));
        return true;
    }
    ffmpeg::Frame frame;
    std::vector<uvc::PicturePointer> packets;
};

/// Three bright pictures in the format of the camera.
std::vector<uvc::PicturePointer> brightPictures(const uvc::CameraSetup& setup)
{
    if (setup.isRaw()) {
        auto bytes = std::make_shared<std::vector<std::uint8_t>>(setup.largestPicture(), std::uint8_t(128));
        std::fill_n(bytes->begin(), kWidth * kHeight, std::uint8_t(kBright));
        return {bytes};
    }
    const auto codec = AVCodecID(setup.codecId);
    const ffmpeg::Frame picture = makePicture(defaultPixelFormat(codec), kWidth, kHeight);
    clearPicture(*picture);
    for (int row = 0; row < kHeight; ++row)
        std::fill_n(picture->data[0] + std::ptrdiff_t(row) * picture->linesize[0], kWidth, std::uint8_t(kBright));
    AVEncoder encoder({codec, picture->format, kWidth, kHeight, 25});
    LastFrame sink;
    encoder.chain(sink);
    for (int i = 0; i < 3; ++i)
        encoder.pushFrame(picture.get());
    encoder.flush();
    return sink.packets;
}

/// Luma of the picture at a place, -1 when it cannot be decoded.
int lumaAt(const uvc::CameraSetup& setup, const std::vector<std::uint8_t>& bytes, int x, int y)
{
    if (setup.isRaw())
        return bytes.at(std::size_t(y) * kWidth + std::size_t(x));
    AVDecoder decoder(AVCodecID(setup.codecId));
    LastFrame sink;
    decoder.chain(sink);
    const ffmpeg::Packet packet(av_packet_alloc());
    decoder.open(nullptr);
    av_new_packet(packet.get(), int(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), packet->data);
    packet->flags = AV_PKT_FLAG_KEY;
    decoder.pushPacket(packet.get());
    decoder.flush();
    return sink.frame ? sink.frame->data[0][y * sink.frame->linesize[0] + x] : -1;
}

} // namespace

/// What a camera does to pictures.
class PictureTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void standsInForALostSource_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<int>("pixelFormat");
        QTest::newRow("MJPEG") << 7 << -1;
        QTest::newRow("H264") << 27 << -1;
        QTest::newRow("H265") << 173 << -1;
        QTest::newRow("YUV420P") << 0 << 0;
        QTest::newRow("NV12") << 0 << 23;
    }

    /// The last picture at a third of its brightness with a box in its middle, or black without one; decodable by
    /// itself.
    void standsInForALostSource()
    {
        QFETCH(int, codec);
        QFETCH(int, pixelFormat);
        const uvc::CameraSetup setup =
            uvc::cameraSetup(cameraDescription({}, codec, pixelFormat, kWidth, kHeight, 25)).take();
        if (codec != 0 && !ffmpegEncodes(AVCodecID(codec))) {
            QVERIFY(!uvc::makeNoSignal(setup, {}));
            return;
        }
        const auto brightness = [&](const std::vector<uvc::PicturePointer>& last) {
            const uvc::PicturePointer made = uvc::makeNoSignal(setup, last);
            return made ? lumaAt(setup, *made, 10, 10) : -1;
        };
        const int dimmed = brightness(brightPictures(setup));
        QVERIFY2(std::abs(dimmed - 72) < 12, qPrintable(QString::number(dimmed)));
        const int black = brightness({});
        QVERIFY2(black >= 0 && black < 24, qPrintable(QString::number(black)));
        const int broken =
            brightness({std::make_shared<std::vector<std::uint8_t>>(setup.largestPicture(), std::uint8_t(0))});
        QVERIFY2(broken >= 0 && broken < 24, qPrintable(QString::number(broken)));
        const uvc::PicturePointer made = uvc::makeNoSignal(setup, {});
        QVERIFY(lumaAt(setup, *made, kWidth / 2 - 4, kHeight / 2) > 40); // the box, red and white
    }

    void processesRawPictures_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QByteArray>("picture"); // of luma 100 and chroma 160
        const auto row = [](const char* name, int selector, const char* value, const char* picture) {
            QTest::newRow(name) << selector << QByteArray::fromHex(value) << QByteArray::fromHex(picture);
        };
        row("as it comes", 5, "02", "64646464a0a0");
        row("brighter", 2, "1e00", "82828282a0a0");
        row("darker", 2, "e2ff", "46464646a0a0");
        row("as bright as it goes", 3, "ff00", "ffffffffa0a0");
        row("without contrast", 3, "0000", "10101010a0a0");
        row("without colour", 7, "0000", "646464648080");
        row("twice the colour", 7, "8000", "64646464c0c0");
    }

    void processesRawPictures()
    {
        QFETCH(int, selector);
        QFETCH(QByteArray, value);
        uvc::ProcessingUnit unit(true, true);
        QVERIFY(unit.set(std::uint8_t(selector), value));
        std::vector<std::uint8_t> picture{100, 100, 100, 100, 160, 160};
        unit.apply(picture, 2, 2);
        QTEST(QByteArray(reinterpret_cast<const char*>(picture.data()), 6), "picture");
        unit.reset();
        picture = {100, 100, 100, 100, 160, 160};
        unit.apply(picture, 2, 2);
        QCOMPARE(picture.front(), std::uint8_t(100));
    }
};

PLUGBOARD_SUITE(PictureTest)
#include "picture_test.moc"
