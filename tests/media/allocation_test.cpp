#include "media/audio_resampler.h"
#include "media/av_media_sink.h"
#include "media/channel_layout.h"
#include "media/media_reader.h"
#include "media/opencv_text_filter.h"
#include "tests/media/allocation_counter.h"
#include "tests/media/media_files.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

constexpr int kWarmUp = 150;
constexpr int kFrames = 1000;

/// A clock that a picture advances by a camera's period: the rate, and so what is kept of it, is steady.
FrameRateCounter cameraClock()
{
    return FrameRateCounter(
        [now = std::chrono::nanoseconds(0)]() mutable { return now += std::chrono::milliseconds(33); });
}

/// A sink whose items are taken at once.
struct EmptiedSink final : AVMediaSink
{
    bool pushFrame(AVFrame* frame) override { return AVMediaSink::pushFrame(frame) && empty(); }
    bool pushPacket(AVPacket* packet) override { return AVMediaSink::pushPacket(packet) && empty(); }
    bool empty()
    {
        while (std::optional<MediaItem> item = take())
            recycle(std::move(*item));
        ++items;
        if (onItem)
            onItem(items);
        return items < limit;
    }

    int items = 0;
    int limit = 1 << 30;
    std::function<void(int)> onItem;
};

/// Allocations of `work` over kFrames runs, after kWarmUp that may allocate.
std::uint64_t allocationsOf(const std::function<bool()>& work)
{
    for (int frame = 0; frame < kWarmUp; ++frame) {
        if (!work())
            return ~std::uint64_t(0);
    }
    const AllocationCounter counter;
    for (int frame = 0; frame < kFrames; ++frame) {
        if (!work())
            return ~std::uint64_t(0);
    }
    return counter.count();
}

} // namespace

/// Frames flow for days: what one frame takes from the heap, or one restart keeps, is what a program dies of.
class AllocationTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void picturesTakeNothing_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("placed");
        QTest::addColumn<bool>("shared");
        const auto row = [](const char* name, AVPixelFormat format, QSize size, bool placed, bool shared) {
            QTest::newRow(name) << int(format) << size << placed << shared;
        };
        row("converted to 4:2:0", AV_PIX_FMT_YUV420P, {80, 60}, false, false);
        row("converted to full range", AV_PIX_FMT_YUVJ420P, {80, 60}, false, false);
        row("converted to 4:2:2", AV_PIX_FMT_YUV422P, {80, 60}, false, false);
        row("converted to NV12", AV_PIX_FMT_NV12, {80, 60}, false, false);
        row("converted to an odd size", AV_PIX_FMT_YUV420P, {81, 61}, false, false);
        row("placed by commands", AV_PIX_FMT_YUV420P, {80, 60}, true, false);
        row("passed on unconverted", AV_PIX_FMT_YUV420P, {160, 120}, false, false);
        row("passed on while a decoder holds it", AV_PIX_FMT_YUV420P, {160, 120}, false, true);
    }

    void picturesTakeNothing()
    {
        QFETCH(int, format);
        QFETCH(QSize, size);
        QFETCH(bool, placed);
        QFETCH(bool, shared);
        const PrintedText printed;
        AVScaler scaler(format, size.width(), size.height(), kScaleAspectFit, withoutServer(placed));
        OpenCVTextFilter text(size.width(), size.height(), cameraClock());
        EmptiedSink sink;
        scaler.chain(text);
        text.chain(sink);
        const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 160, 120);
        const ffmpeg::Frame held(shared ? av_frame_clone(frame.get()) : nullptr);
        QCOMPARE(allocationsOf([&] { return scaler.pushFrame(frame.get()); }), std::uint64_t(0));
        QCOMPARE(sink.items, kWarmUp + kFrames);
        // The counter sees what there is to see.
        const AllocationCounter counter;
        const ffmpeg::Frame other = makePicture(format, 16, 16);
        QVERIFY(counter.count() >= 2);
    }

    /// Blocks of two sizes in turn: the larger one's buffer serves both.
    void soundTakesNothing()
    {
        const PrintedText printed;
        AudioResampler resampler(2, 44100);
        EmptiedSink sink;
        resampler.chain(sink);
        const ffmpeg::Frame frame(av_frame_alloc());
        frame->format = AV_SAMPLE_FMT_FLTP;
        frame->sample_rate = 48000;
        frame->nb_samples = 4096;
        ffmpeg::setChannels(*frame, 2, 3);
        QCOMPARE(av_frame_get_buffer(frame.get(), 0), 0);
        const auto push = [&] {
            frame->nb_samples = frame->nb_samples == 4096 ? 512 : 4096;
            return resampler.pushFrame(frame.get());
        };
        QCOMPARE(allocationsOf(push), std::uint64_t(0));
        QCOMPARE(sink.items, kWarmUp + kFrames);
    }

    /// Nobody takes the items, as when a consumer has stalled: the oldest give their memory to the newest.
    void packetsTakeNothing()
    {
        AVMediaSink sink;
        const ffmpeg::Packet packet(av_packet_alloc());
        QCOMPARE(av_new_packet(packet.get(), 5000), 0);
        std::memset(packet->data, 1, 5000);
        QCOMPARE(allocationsOf([&] { return sink.pushPacket(packet.get()); }), std::uint64_t(0));
        QCOMPARE(sink.dropped(), std::uint64_t(kWarmUp + kFrames - int(AVMediaSink::kCapacity)));
    }

    void restartsKeepNothing_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("codec");
        QTest::addColumn<QSize>("size");
        QTest::newRow("pictures and sound") << "h264_aac.mp4" << int(AV_CODEC_ID_NONE) << QSize(80, 60);
        QTest::newRow("packets passed on") << "h264_aac.mp4" << int(AV_CODEC_ID_H264) << QSize(160, 120);
        QTest::newRow("packets encoded") << "mjpeg.avi" << int(AV_CODEC_ID_MJPEG) << QSize(80, 60);
        QTest::newRow("transport stream") << "h264_aac.ts" << int(AV_CODEC_ID_NONE) << QSize(80, 60);
    }

    void restartsKeepNothing()
    {
        QFETCH(QString, file);
        QFETCH(int, codec);
        QFETCH(QSize, size);
        constexpr int kItems = 30; // Of one pass.
        constexpr int kWarmUpPasses = 10;
        constexpr int kPasses = 100;
        constexpr std::ptrdiff_t kNoise =
            32 * 1024; // Bytes; freed memory that the allocator holds ready counts as used.
        const PrintedText printed;
        MediaInterrupt interrupt;
        EmptiedSink video;
        EmptiedSink audio;
        MediaReader reader(mediaFile(file.toLatin1().constData()).toStdString(), kSelectBoth, interrupt, "file");
        QVERIFY(reader.open());
        reader.setThreadCounts(1, 1);
        reader.buildVideoChain(AVCodecID(codec), codec == AV_CODEC_ID_NONE ? int(AV_PIX_FMT_YUV420P) : -1, size.width(),
                               size.height(), 25, video, withoutServer());
        reader.buildAudioChain(2, 48000, audio);
        std::ptrdiff_t before = 0;
        video.onItem = [&](int items) {
            if (items == kWarmUpPasses * kItems)
                before = std::ptrdiff_t(heapInUse());
        };
        video.limit = (kWarmUpPasses + kPasses) * kItems;
        reader.readLoop(true);
        QCOMPARE(video.items, video.limit);
        const std::ptrdiff_t kept = std::ptrdiff_t(heapInUse()) - before;
        QVERIFY2(before > 0 && kept < kNoise, qPrintable(QStringLiteral("%1 bytes more").arg(kept)));
    }
};

PLUGBOARD_SUITE(AllocationTest)
#include "allocation_test.moc"
