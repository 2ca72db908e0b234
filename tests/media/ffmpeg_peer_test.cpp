#include "media/av_decoder.h"
#include "media/av_scaler.h"
#include "tests/media/file_stream.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QtTest>

#include <array>
#include <cmath>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace {

/// Planes one after the other without padding.
using Bytes = std::vector<std::uint8_t>;

/// One plane of such bytes.
struct Plane
{
    std::size_t start;
    int width; ///< In bytes.
    int height;
};

std::vector<Plane> planesOf(int format, QSize size)
{
    const int half = (size.width() + 1) / 2;
    const int halfHeight = format == AV_PIX_FMT_YUV422P ? size.height() : (size.height() + 1) / 2;
    std::vector<Plane> planes = {{0, size.width(), size.height()}};
    const auto append = [&planes](int width, int height) {
        const Plane& last = planes.back();
        planes.push_back({last.start + std::size_t(last.width) * std::size_t(last.height), width, height});
    };
    if (format == AV_PIX_FMT_NV12) {
        append(2 * half, halfHeight);
    } else {
        append(half, halfHeight);
        append(half, halfHeight);
    }
    return planes;
}

/// Decibels; 99 when both are equal.
double psnr(const Bytes& left, const Bytes& right, const Plane& plane)
{
    double sum = 0;
    const std::size_t count = std::size_t(plane.width) * std::size_t(plane.height);
    for (std::size_t index = plane.start; index < plane.start + count; ++index)
        sum += std::pow(double(left[index]) - right[index], 2);
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * double(count) / sum);
}

/// Tenth picture of the file as the chain scales it.
Bytes chainPicture(const char* file, int format, QSize size)
{
    FileStream stream(file);
    AVDecoder decoder(stream.source->codecId());
    AVScaler scaler(format, size.width(), size.height(), kScaleAspectFit, withoutServer());
    StageProbe probe;
    Bytes bytes;
    probe.onFrame = [&](const AVFrame& frame) {
        if (probe.frames != 10)
            return;
        bytes.resize(std::size_t(av_image_get_buffer_size(AVPixelFormat(format), size.width(), size.height(), 1)));
        av_image_copy_to_buffer(bytes.data(), int(bytes.size()), frame.data, frame.linesize, AVPixelFormat(format),
                                frame.width, frame.height, 1);
    };
    stream.source->chain(decoder);
    decoder.chain(scaler);
    scaler.chain(probe);
    if (decoder.open(stream.source->codecParameters()))
        stream.play();
    return bytes;
}

/// The same picture as the ffmpeg program scales it; a target with odd sides is cut out of one that is larger by one.
Bytes programPicture(const char* file, int format, QSize size)
{
    const QString name = QString::fromLatin1(av_get_pix_fmt_name(AVPixelFormat(format)));
    const QString filter = QStringLiteral("scale=%1:%2:flags=bilinear,format=%3,crop=%4:%5:0:0:exact=1")
                               .arg(size.width() + size.width() % 2)
                               .arg(size.height() + size.height() % 2)
                               .arg(name)
                               .arg(size.width())
                               .arg(size.height());
    QProcess process;
    process.start(QStringLiteral(PLUGBOARD_FFMPEG_PROGRAM),
                  {QStringLiteral("-nostdin"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                   QStringLiteral("-i"), mediaFile(file), QStringLiteral("-vf"),
                   QStringLiteral("select=eq(n\\,9),") + filter, QStringLiteral("-frames:v"), QStringLiteral("1"),
                   QStringLiteral("-f"), QStringLiteral("rawvideo"), QStringLiteral("-")});
    process.waitForFinished(60000);
    const QByteArray output = process.readAllStandardOutput();
    return Bytes(output.begin(), output.end());
}

} // namespace

/// What the chain makes of a file beside what the ffmpeg program makes of it, by number.
class FfmpegPeerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void convertsAsTheProgramDoes_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("format");
        QTest::addColumn<QSize>("size");
        for (const char* file :
             {"h264_aac.mp4", "h264_444.mp4", "hevc_10bit.mp4", "mjpeg.avi", "h264_interlaced.mp4"}) {
            for (const int format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_NV12}) {
                for (const QSize size : {QSize(96, 80), QSize(320, 240), QSize(121, 91)}) {
                    QTest::addRow("%s to %s of %dx%d", file, av_get_pix_fmt_name(AVPixelFormat(format)), size.width(),
                                  size.height())
                        << QString::fromLatin1(file) << format << size;
                }
            }
        }
    }

    void convertsAsTheProgramDoes()
    {
        QFETCH(QString, file);
        QFETCH(int, format);
        QFETCH(QSize, size);
        const QByteArray name = file.toLatin1();
        const Bytes ours = chainPicture(name.constData(), format, size);
        const Bytes theirs = programPicture(name.constData(), format, size);
        QVERIFY(!ours.empty());
        QCOMPARE(ours.size(), theirs.size());
        for (const Plane& plane : planesOf(format, size)) {
            const double decibels = psnr(ours, theirs, plane);
            QVERIFY2(decibels > 40, qPrintable(QString::number(decibels)));
        }
    }

    /// The measure must see what the rows above guard: a row too low, swapped colour planes, another range.
    void tellsPicturesApart()
    {
        const QSize size(96, 80);
        const Bytes picture = chainPicture("h264_aac.mp4", AV_PIX_FMT_YUV420P, size);
        const std::vector<Plane> planes = planesOf(AV_PIX_FMT_YUV420P, size);
        QCOMPARE(psnr(picture, picture, planes[0]), 99.0);
        Bytes shifted = picture;
        std::rotate(shifted.begin(), shifted.begin() + size.width(), shifted.begin() + size.width() * size.height());
        QVERIFY(psnr(picture, shifted, planes[0]) < 35);
        Bytes swapped = picture;
        std::swap_ranges(swapped.begin() + std::ptrdiff_t(planes[1].start),
                         swapped.begin() + std::ptrdiff_t(planes[2].start),
                         swapped.begin() + std::ptrdiff_t(planes[2].start));
        QVERIFY(psnr(picture, swapped, planes[1]) < 35);
        const Bytes fullRange = chainPicture("h264_aac.mp4", AV_PIX_FMT_YUVJ420P, size);
        QVERIFY(psnr(picture, fullRange, planes[0]) < 35);
    }
};

PLUGBOARD_SUITE(FfmpegPeerTest)
#include "ffmpeg_peer_test.moc"
