#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "tests/media/encoders_at_hand.h"
#include "tests/media/file_stream.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

/// A kind of device that this FFmpeg knows, and the pixel format of another kind that it can decode to.
struct KnownHardware
{
    AVHWDeviceType type;
    AVPixelFormat foreignFormat;
};

KnownHardware knownHardware()
{
    for (const KnownHardware known : {KnownHardware{AV_HWDEVICE_TYPE_QSV, AV_PIX_FMT_CUDA},
                                      KnownHardware{AV_HWDEVICE_TYPE_D3D11VA, AV_PIX_FMT_DXVA2_VLD}}) {
        if (ffmpeg::BufferReference(av_hwdevice_ctx_alloc(known.type)))
            return known;
    }
    return {AV_HWDEVICE_TYPE_NONE, AV_PIX_FMT_NONE};
}

std::size_t countDecoders(AVCodecID codec)
{
    std::size_t count = 0;
    void* position = nullptr;
    while (const AVCodec* found = av_codec_iterate(&position))
        count += found->id == codec && av_codec_is_decoder(found);
    return count;
}

/// A device whose surfaces are ordinary pictures: `surface` is the format that counts as a hardware frame.
struct FakeHardware final : HardwareAccess
{
    const AVCodecHWConfig* configuration(const AVCodec& decoder, int index) const override
    {
        if (index > 0 || (!only.empty() && decoder.name != only))
            return nullptr;
        asked.push_back(decoder.name);
        return &way;
    }
    ffmpeg::BufferReference createDevice(AVHWDeviceType type) const override
    {
        created.push_back(type);
        return ffmpeg::BufferReference(type == working ? av_hwdevice_ctx_alloc(type) : nullptr);
    }
    int transfer(AVFrame& to, const AVFrame& from) const override
    {
        ++transfers;
        if (to.format != AV_PIX_FMT_NV12)
            return AVERROR(EINVAL);
        to.width = from.width;
        to.height = from.height;
        const int result = transferResult < 0 ? transferResult : av_frame_get_buffer(&to, 0);
        if (result >= 0)
            interleave(to, from);
        return result;
    }
    static void interleave(AVFrame& to, const AVFrame& from)
    {
        for (int row = 0; row < from.height; ++row)
            std::memcpy(to.data[0] + row * to.linesize[0], from.data[0] + row * from.linesize[0],
                        std::size_t(from.width));
        for (int row = 0; row < from.height / 2; ++row) {
            for (int column = 0; column < from.width; ++column) {
                to.data[1][row * to.linesize[1] + column] =
                    from.data[1 + column % 2][row * from.linesize[1 + column % 2] + column / 2];
            }
        }
    }

    AVHWDeviceType working = knownHardware().type;
    AVCodecHWConfig way = {AV_PIX_FMT_YUV420P, AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX, working};
    int transferResult = 0;
    std::string only; ///< The one decoder that can use the device; empty: all.
    mutable std::vector<std::string> asked;
    mutable std::vector<AVHWDeviceType> created;
    mutable int transfers = 0;
};

/// A file's video and what a decoder makes of it.
struct Decoding
{
    explicit Decoding(const char* file, const HardwareAccess& hardware = systemHardware())
        : stream(file)
        , decoder(stream.source->codecId(), hardware)
    {
        stream.source->chain(decoder);
        decoder.chain(probe);
        opened = decoder.open(stream.source->codecParameters());
    }
    bool play() { return opened && stream.play(); }

    FileStream stream;
    AVDecoder decoder;
    StageProbe probe;
    bool opened = false;
};

} // namespace

class CodecTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void decodesEveryKindOfFile_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("leastFrames");
        QTest::newRow("H.264 in MP4") << "h264_aac.mp4" << int(AV_PIX_FMT_YUV420P) << 30;
        QTest::newRow("H.264 with B-frames") << "h264_b_frames.mp4" << int(AV_PIX_FMT_YUV420P) << 25;
        QTest::newRow("H.264 in a transport stream") << "h264_aac.ts" << int(AV_PIX_FMT_YUV420P) << 29;
        QTest::newRow("raw H.265") << "raw.h265" << int(AV_PIX_FMT_YUV420P) << 29;
        QTest::newRow("MPEG-4 in AVI") << "mpeg4_mp3.avi" << int(AV_PIX_FMT_YUV420P) << 29;
        QTest::newRow("full range MJPEG") << "mjpeg.avi" << int(AV_PIX_FMT_YUVJ420P) << 30;
        QTest::newRow("10 bits") << "hevc_10bit.mp4" << int(AV_PIX_FMT_YUV420P10LE) << 25;
        QTest::newRow("4:4:4") << "h264_444.mp4" << int(AV_PIX_FMT_YUV444P) << 30;
        QTest::newRow("interlaced") << "h264_interlaced.mp4" << int(AV_PIX_FMT_YUV420P) << 29;
    }

    void decodesEveryKindOfFile()
    {
        QFETCH(QString, file);
        QFETCH(int, format);
        QFETCH(int, leastFrames);
        Decoding run(file.toLatin1().constData());
        QVERIFY(run.play());
        QVERIFY2(run.probe.frames >= leastFrames, qPrintable(QString::number(run.probe.frames)));
        run.decoder.flush();
        QCOMPARE(run.probe.frames, 30);
        if (run.decoder.deviceName().empty())
            QCOMPARE(run.probe.last->format, format);
        QCOMPARE(run.probe.last->pts, std::int64_t(0));
        QCOMPARE(run.probe.last->pkt_dts, std::int64_t(0));
        QCOMPARE(run.decoder.inputWidth(), 160);
        QVERIFY(!run.decoder.name().empty());
    }

    void joinsBetweenKeyPictures_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("leastFrames");
        // Key pictures are 0, 10 and 20.
        for (const char* file : {"h264_aac.ts", "raw.h264", "h265.ts", "mpeg4_mp3.avi", "brighter.mpg", "vp8.webm",
                                 "vp9_opus.webm", "mjpeg.avi"})
            QTest::newRow(file) << QString::fromLatin1(file) << 18;
        if (avcodec_find_decoder_by_name("libdav1d")) // What FFmpeg has of its own needs hardware.
            QTest::newRow("av1.mkv") << QStringLiteral("av1.mkv") << 18;
        QTest::newRow("H.264 whose rows are refreshed in turn") << QStringLiteral("h264_rows.ts") << 10;
    }

    void joinsBetweenKeyPictures()
    {
        QFETCH(QString, file);
        QFETCH(int, leastFrames);
        for (const int missed : {1, 3, 7}) {
            Decoding run(file.toLatin1().constData());
            QVERIFY(run.decoder.open(nullptr)); // Nothing is known of a stream that is joined there.
            for (int packets = 0; packets < missed;) {
                QCOMPARE(run.stream.input.read(run.stream.packet.get()), 0);
                packets += run.stream.packet->stream_index == run.stream.source->streamIndex();
                av_packet_unref(run.stream.packet.get());
            }
            QVERIFY2(run.play(), run.stream.source->refusal().c_str());
            run.decoder.flush();
            QVERIFY2(run.probe.frames >= leastFrames, qPrintable(QString::number(run.probe.frames)));
        }
    }

    void givesPicturesInTheirOrder_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("MPEG-2 with B pictures") << "brighter.mpg";
        QTest::newRow("MPEG-4 with B pictures") << "brighter.mp4";
    }

    /// Each picture of the clips is brighter than the one before.
    void givesPicturesInTheirOrder()
    {
        QFETCH(QString, file);
        Decoding run(file.toLatin1().constData());
        std::vector<int> brightness;
        run.probe.onFrame = [&brightness](const AVFrame& frame) { brightness.push_back(frame.data[0][0]); };
        QVERIFY(run.play());
        run.decoder.flush();
        QCOMPARE(brightness.size(), std::size_t(30));
        QVERIFY(std::is_sorted(brightness.begin(), brightness.end()));
    }

    void searchesHardwareInOrder()
    {
        FakeHardware hardware;
        hardware.working = AV_HWDEVICE_TYPE_NONE;
        for (const AVHWDeviceType type : {AV_HWDEVICE_TYPE_QSV, AV_HWDEVICE_TYPE_CUDA, AV_HWDEVICE_TYPE_VAAPI}) {
            hardware.way.device_type = type;
            hardware.asked.clear();
            AVDecoder decoder(AV_CODEC_ID_H264, hardware);
            QVERIFY(decoder.open(nullptr));
            QVERIFY(
                std::all_of(hardware.created.begin(), hardware.created.end(), [&](auto made) { return made == type; }));
            // Each H.264 decoder is asked once per type of the fixed list, and a failing device moves on to the next.
            QCOMPARE(hardware.created.size(), countDecoders(AV_CODEC_ID_H264));
            QCOMPARE(hardware.asked.size(), hardware.created.size() * 6);
            QCOMPARE(decoder.deviceName(), std::string());
            hardware.created.clear();
        }
        hardware.way.device_type = AV_HWDEVICE_TYPE_VULKAN; // Not in the list.
        AVDecoder decoder(AV_CODEC_ID_H264, hardware);
        QVERIFY(decoder.open(nullptr));
        QVERIFY(hardware.created.empty());
    }

    void hardwareFramesArriveAsNv12()
    {
        FakeHardware none;
        none.only = "none";
        Decoding software("h264_aac.mp4", none);
        std::vector<std::vector<std::uint8_t>> chroma;
        software.probe.onFrame = [&chroma](const AVFrame& frame) {
            const ffmpeg::Frame paired = makePicture(AV_PIX_FMT_NV12, frame.width, frame.height);
            FakeHardware::interleave(*paired, frame);
            chroma.push_back(planeBytes(*paired, 1, frame.width, frame.height / 2));
        };
        QVERIFY(software.play());

        const FakeHardware hardware;
        Decoding run("h264_aac.mp4", hardware);
        run.probe.onFrame = [&](const AVFrame& frame) {
            QCOMPARE(frame.format, int(AV_PIX_FMT_NV12));
            QCOMPARE(frame.pts, std::int64_t(0));
            QCOMPARE(planeBytes(frame, 1, 160, 60), chroma.at(std::size_t(run.probe.frames - 1)));
        };
        QVERIFY(run.play());
        QCOMPARE(run.decoder.deviceName(), std::string(av_hwdevice_get_type_name(hardware.working)));
        QVERIFY(run.probe.frames >= 29);
        QCOMPARE(hardware.transfers, run.probe.frames);
        QCOMPARE(run.decoder.inputFormat(), int(AV_PIX_FMT_NV12));

        FakeHardware failing;
        failing.transferResult = AVERROR(EIO);
        Decoding empty("h264_aac.mp4", failing);
        QVERIFY(empty.play());
        QCOMPARE(empty.probe.frames, 0);
        QVERIFY(failing.transfers >= 29);
    }

    void deviceThatCannotDecodeLeavesItToSoftware_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("decoder");
        // The device exists, and setting it up for the stream fails when the first packet comes.
        for (const char* file : {"h264_aac.mp4", "h264_444.mp4", "mjpeg.avi"})
            QTest::newRow(file) << QString::fromLatin1(file) << QString();
        // The device exists, and the decoder for it does not open: it wants a codec chip that no test machine has.
        if (avcodec_find_decoder_by_name("h264_v4l2m2m"))
            QTest::newRow("a decoder that does not open")
                << QStringLiteral("h264_aac.mp4") << QStringLiteral("h264_v4l2m2m");
    }

    void deviceThatCannotDecodeLeavesItToSoftware()
    {
        QFETCH(QString, file);
        QFETCH(QString, decoder);
        FakeHardware hardware;
        QVERIFY(hardware.working != AV_HWDEVICE_TYPE_NONE);
        hardware.only = decoder.toStdString();
        if (decoder.isEmpty())
            hardware.way.pix_fmt = knownHardware().foreignFormat;
        Decoding run(file.toLatin1().constData(), hardware);
        QVERIFY(run.play());
        QCOMPARE(hardware.created, std::vector<AVHWDeviceType>{hardware.working});
        QVERIFY(run.decoder.name() != decoder.toStdString());
        QVERIFY(run.probe.frames >= 29);
        QCOMPARE(run.decoder.deviceName(), std::string());
        QCOMPARE(hardware.transfers, 0);
    }

    void decoderThatDidNotOpenRefusesPackets()
    {
        FileStream stream("h264_aac.mp4");
        AVDecoder unopened(AV_CODEC_ID_H264);
        stream.source->chain(unopened);
        QVERIFY(!stream.play());
        AVDecoder unknown(AV_CODEC_ID_NONE);
        QVERIFY(!unknown.open(nullptr));
        QVERIFY(!unknown.pushPacket(stream.packet.get()));
        QVERIFY(!unknown.flush());
    }

    /// Some kilobytes of PNG become as many pixels as they say.
    void refusesPicturesThatAreTooLarge()
    {
        constexpr int kWidth = 8192;
        for (const int height : {4320, 4321}) {
            const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
            if (!codec)
                QSKIP("this FFmpeg has no encoder of PNG");
            ffmpeg::CodecContext context(avcodec_alloc_context3(codec));
            context->width = kWidth;
            context->height = height;
            context->pix_fmt = AV_PIX_FMT_GRAY8;
            context->time_base = {1, 25};
            QVERIFY(avcodec_open2(context.get(), codec, nullptr) >= 0);
            const ffmpeg::Frame frame = makePicture(AV_PIX_FMT_GRAY8, kWidth, height);
            std::memset(frame->data[0], 0, std::size_t(frame->linesize[0]) * std::size_t(height));
            const ffmpeg::Packet packet(av_packet_alloc());
            QVERIFY(avcodec_send_frame(context.get(), frame.get()) >= 0);
            QVERIFY(avcodec_receive_packet(context.get(), packet.get()) >= 0);

            AVDecoder decoder(AV_CODEC_ID_PNG);
            StageProbe pictures;
            decoder.chain(pictures);
            QVERIFY(decoder.open(nullptr));
            decoder.pushPacket(packet.get());
            decoder.flush();
            QCOMPARE(pictures.frames, height == 4320 ? 1 : 0);
        }
    }

    void stopsWhenTheChainRefuses()
    {
        Decoding run("h264_aac.mp4");
        run.probe.limit = 5;
        QVERIFY(!run.play());
        QCOMPARE(run.probe.frames, 5);
    }

    void encodesForStreaming_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<int>("format");
        QTest::newRow("H.264") << int(AV_CODEC_ID_H264) << int(AV_PIX_FMT_YUV420P);
        QTest::newRow("H.265") << int(AV_CODEC_ID_HEVC) << int(AV_PIX_FMT_YUV420P);
        QTest::newRow("full range MJPEG") << int(AV_CODEC_ID_MJPEG) << int(AV_PIX_FMT_YUVJ420P);
    }

    void encodesForStreaming()
    {
        QFETCH(int, codec);
        QFETCH(int, format);
        if (!ffmpegEncodes(AVCodecID(codec)))
            QSKIP("this FFmpeg has no encoder of the codec");
        AVEncoder encoder({AVCodecID(codec), -1, 160, 120, 10, 1});
        QVERIFY(encoder.isOpen());
        QVERIFY(!encoder.name().empty());
        StageProbe packets;
        AVDecoder decoder{AVCodecID(codec)};
        StageProbe pictures;
        encoder.chain(packets);
        encoder.chain(decoder);
        decoder.chain(pictures);
        QVERIFY(decoder.open(nullptr)); // All that the decoder needs is in the stream.
        const ffmpeg::Frame frame = makePicture(format, 160, 120);
        for (int number = 0; number < 25; ++number) {
            std::memset(frame->data[0], 40 + number * 5, std::size_t(frame->linesize[0]) * 120);
            std::memset(frame->data[1], 128, std::size_t(frame->linesize[1]) * 60);
            std::memset(frame->data[2], 128, std::size_t(frame->linesize[2]) * 60);
            frame->pict_type = AV_PICTURE_TYPE_I; // As a decoder leaves it; it must not make every packet a key.
            QVERIFY(encoder.pushFrame(frame.get()));
            QCOMPARE(packets.packets, number + 1); // No picture is held back.
        }
        QVERIFY(encoder.flush());
        decoder.flush();
        QCOMPARE(packets.packets, 25);
        QCOMPARE(pictures.frames, 25);
        for (int number = 0; number < 25; ++number)
            QCOMPARE(packets.timeStamps[std::size_t(number)], std::int64_t(number));
        QCOMPARE(packets.keys, codec == AV_CODEC_ID_MJPEG ? 25 : 3); // One a second.
        QVERIFY(std::abs(int(pictures.last->data[0][60 * pictures.last->linesize[0] + 80]) - (40 + 24 * 5)) <= 6);
    }

    void encoderRefusesOtherPictures()
    {
        AVEncoder encoder({AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, 160, 120, 10, 1});
        for (const auto& [format, width, height] :
             {std::tuple{AV_PIX_FMT_YUV420P, 162, 120}, {AV_PIX_FMT_YUV420P, 160, 60}, {AV_PIX_FMT_NV12, 160, 120}}) {
            const ffmpeg::Frame frame = makePicture(format, width, height);
            QVERIFY(!encoder.pushFrame(frame.get()));
        }
        AVEncoder impossible({AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P, 0, 120, 10, 1});
        QVERIFY(!impossible.isOpen());
        QVERIFY(!impossible.flush());
    }
};

PLUGBOARD_SUITE(CodecTest)
#include "codec_test.moc"
