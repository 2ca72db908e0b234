#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

namespace {

constexpr int kHalved = AV_PIX_FMT_YUV420P;

/// Picture drawn as text: one character per luma sample, '#' where it is bright.
QString drawn(const AVFrame& picture)
{
    QString text;
    for (int row = 0; row < picture.height; ++row) {
        for (int column = 0; column < picture.width; ++column)
            text += QLatin1Char(picture.data[0][row * picture.linesize[0] + column] > 100 ? '#' : '.');
        text += QLatin1Char('\n');
    }
    return text;
}

int chromaRows(int format, int height)
{
    return format == AV_PIX_FMT_YUV422P ? height : (height + 1) / 2;
}

int chromaColumns(int format, int width)
{
    const int half = (width + 1) / 2;
    return format == AV_PIX_FMT_NV12 ? 2 * half : half;
}

int chromaPlanes(int format)
{
    return format == AV_PIX_FMT_NV12 ? 1 : 2;
}

void fill(AVFrame& picture, int luma, int chroma)
{
    std::memset(picture.buf[0]->data, luma, picture.buf[0]->size);
    for (int plane = 1; plane <= chromaPlanes(picture.format); ++plane) {
        std::memset(picture.data[plane], chroma,
                    std::size_t(picture.linesize[plane]) * std::size_t(chromaRows(picture.format, picture.height)));
    }
}

} // namespace

class ScalerTest : public QObject
{
    Q_OBJECT

private slots:
    void passesWhatFits()
    {
        AVScaler scaler(kHalved, 64, 48, kScaleAspectFit, withoutServer());
        StageProbe probe;
        scaler.chain(probe);
        const ffmpeg::Frame other = patternPicture(kHalved, 32, 24);
        const ffmpeg::Frame fitting = patternPicture(kHalved, 64, 48);
        QVERIFY(scaler.pushFrame(other.get()));
        QCOMPARE(probe.last->width, 64);
        QVERIFY(probe.last->data[0] != other->data[0]);
        QVERIFY(scaler.pushFrame(fitting.get()));
        QCOMPARE(probe.last->data[0], fitting->data[0]);
        QCOMPARE(scaler.inputWidth(), 32);

        // The first frame's size decides for all later ones, as long as the stage lives.
        AVScaler exact(kHalved, 64, 48, kScaleAspectFit, withoutServer());
        exact.chain(probe);
        QVERIFY(exact.pushFrame(fitting.get()));
        QVERIFY(exact.pushFrame(other.get()));
        QCOMPARE(probe.last->data[0], other->data[0]);
    }

    void clearsToBlack_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("luma");
        QTest::newRow("4:2:0") << int(AV_PIX_FMT_YUV420P) << 16;
        QTest::newRow("4:2:0 full range") << int(AV_PIX_FMT_YUVJ420P) << 0;
        QTest::newRow("4:2:2") << int(AV_PIX_FMT_YUV422P) << 16;
        QTest::newRow("NV12") << int(AV_PIX_FMT_NV12) << 16;
        QTest::newRow("other formats stay as they are") << int(AV_PIX_FMT_YUV444P) << -1;
    }

    void clearsToBlack()
    {
        QFETCH(int, format);
        QFETCH(int, luma);
        const ffmpeg::Frame picture = makePicture(format, 15, 9);
        fill(*picture, 77, 77);
        clearPicture(*picture);
        const auto bytes = planeBytes(*picture, 0, picture->linesize[0], 9);
        QVERIFY(std::all_of(bytes.begin(), bytes.end(), [&](int value) { return value == (luma < 0 ? 77 : luma); }));
        for (int plane = 1; plane <= chromaPlanes(format); ++plane) {
            const auto chroma = planeBytes(*picture, plane, picture->linesize[plane], chromaRows(format, 9));
            QVERIFY(
                std::all_of(chroma.begin(), chroma.end(), [&](int value) { return value == (luma < 0 ? 77 : 128); }));
        }
    }

    void copiesPictures_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QRect>("place");
        QTest::addColumn<QRect>("luma");
        QTest::addColumn<QRect>("chroma");
        const auto row = [](const char* name, int format, QRect place, QRect luma, QRect chroma) {
            QTest::newRow(name) << format << place << luma << chroma;
        };
        // The destination has 16 x 12 pixels, the source 20 x 20.
        row("4:2:0 halves both directions", AV_PIX_FMT_YUV420P, {4, 2, 6, 6}, {4, 2, 6, 6}, {2, 1, 3, 3});
        row("full range as 4:2:0", AV_PIX_FMT_YUVJ420P, {4, 2, 6, 6}, {4, 2, 6, 6}, {2, 1, 3, 3});
        row("4:2:2 halves the width only", AV_PIX_FMT_YUV422P, {4, 2, 6, 6}, {4, 2, 6, 6}, {2, 2, 3, 6});
        row("NV12 has full rows of pairs", AV_PIX_FMT_NV12, {4, 2, 6, 6}, {4, 2, 6, 6}, {4, 1, 6, 3});
        row("other formats copy the first plane", AV_PIX_FMT_YUV444P, {4, 2, 6, 6}, {4, 2, 6, 6}, {});
        row("cut at the right and bottom", AV_PIX_FMT_YUV420P, {10, 8, 20, 20}, {10, 8, 6, 4}, {5, 4, 3, 2});
        row("negative positions count as 0", AV_PIX_FMT_YUV420P, {-5, -4, 6, 6}, {0, 0, 6, 6}, {0, 0, 3, 3});
        row("odd sizes take their last colour column and row", AV_PIX_FMT_YUV420P, {0, 0, 5, 7}, {0, 0, 5, 7},
            {0, 0, 3, 4});
        row("odd NV12 sizes take whole pairs", AV_PIX_FMT_NV12, {0, 0, 5, 7}, {0, 0, 5, 7}, {0, 0, 6, 4});
        row("outside", AV_PIX_FMT_YUV420P, {16, 0, 6, 6}, {}, {});
        row("empty", AV_PIX_FMT_YUV420P, {0, 0, 0, 6}, {}, {});
    }

    void copiesPictures()
    {
        QFETCH(int, format);
        QFETCH(QRect, place);
        QFETCH(QRect, luma);
        QFETCH(QRect, chroma);
        const ffmpeg::Frame destination = makePicture(format, 16, 12);
        const ffmpeg::Frame source = patternPicture(format, 20, 20);
        copyPicture(*destination, *source, place.x(), place.y(), place.width(), place.height());
        for (int plane = 0; plane <= 1; ++plane) {
            const QRect& area = plane == 0 ? luma : chroma;
            for (int row = 0; row < (plane == 0 ? 12 : chromaRows(format, 12)); ++row) {
                for (int column = 0; column < (plane == 0 ? 16 : chromaColumns(format, 16)); ++column) {
                    const int from = (row - area.y()) * source->linesize[plane] + column - area.x();
                    const int expected = area.contains(column, row) ? source->data[plane][from] : 0;
                    const int found = destination->data[plane][row * destination->linesize[plane] + column];
                    QVERIFY2(found == expected,
                             qPrintable(QStringLiteral("plane %1 (%2, %3)").arg(plane).arg(column).arg(row)));
                }
            }
        }
    }

    void oddTargetsLoseTheLastColumnAndRow_data()
    {
        QTest::addColumn<int>("format");
        for (const int format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_NV12})
            QTest::newRow(av_get_pix_fmt_name(AVPixelFormat(format))) << format;
    }

    void oddTargetsLoseTheLastColumnAndRow()
    {
        QFETCH(int, format);
        AVScaler odd(format, 161, 121, kScaleAspectFit, withoutServer());
        AVScaler even(format, 162, 122, kScaleAspectFit, withoutServer());
        StageProbe oddProbe;
        StageProbe evenProbe;
        odd.chain(oddProbe);
        even.chain(evenProbe);
        const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 320, 240);
        QVERIFY(odd.pushFrame(frame.get()));
        QVERIFY(even.pushFrame(frame.get()));
        QCOMPARE(oddProbe.last->width, 161);
        QCOMPARE(oddProbe.last->height, 121);
        QCOMPARE(planeBytes(*oddProbe.last, 0, 161, 121), planeBytes(*evenProbe.last, 0, 161, 121));
        for (int plane = 1; plane <= chromaPlanes(format); ++plane) {
            const int columns = chromaColumns(format, 161);
            const int rows = chromaRows(format, 121);
            QCOMPARE(planeBytes(*oddProbe.last, plane, columns, rows),
                     planeBytes(*evenProbe.last, plane, columns, rows));
        }
    }

    /// Pictures stored bottom up, cut out of larger ones, or with one buffer for all give what a plain copy of them
    /// gives.
    void takesPicturesOfAnyShape()
    {
        const ffmpeg::Frame whole = patternPicture(kHalved, 200, 150);
        const ffmpeg::Frame flipped(av_frame_clone(whole.get()));
        for (int plane = 0; plane < 3; ++plane) {
            const int rows = plane == 0 ? flipped->height : flipped->height / 2;
            flipped->data[plane] += static_cast<std::ptrdiff_t>(flipped->linesize[plane]) * (rows - 1);
            flipped->linesize[plane] = -flipped->linesize[plane];
        }
        const ffmpeg::Frame cut(av_frame_clone(whole.get()));
        cut->crop_left = 6;
        cut->crop_top = 4;
        cut->crop_right = 10;
        QCOMPARE(av_frame_apply_cropping(cut.get(), AV_FRAME_CROP_UNALIGNED), 0);

        for (AVFrame* shaped : {flipped.get(), cut.get()}) {
            const ffmpeg::Frame plain = makePicture(kHalved, shaped->width, shaped->height);
            QVERIFY(av_frame_copy(plain.get(), shaped) >= 0);
            StageProbe shapedProbe;
            StageProbe plainProbe;
            AVScaler shapedScaler(AV_PIX_FMT_NV12, 100, 80, kScaleAspectFit, withoutServer());
            AVScaler plainScaler(AV_PIX_FMT_NV12, 100, 80, kScaleAspectFit, withoutServer());
            shapedScaler.chain(shapedProbe);
            plainScaler.chain(plainProbe);
            QVERIFY(shapedScaler.pushFrame(shaped));
            QVERIFY(plainScaler.pushFrame(plain.get()));
            for (int plane = 0; plane < 2; ++plane) {
                const int rows = plane == 0 ? 80 : 40;
                QCOMPARE(planeBytes(*shapedProbe.last, plane, 100, rows),
                         planeBytes(*plainProbe.last, plane, 100, rows));
            }
        }
    }

    void commandsChangeNothingWithoutPlacement()
    {
        AVScaler scaler(kHalved, 64, 48, kScaleAspectFit, withoutServer());
        StageProbe probe;
        scaler.chain(probe);
        const ffmpeg::Frame frame = patternPicture(kHalved, 32, 24);
        QVERIFY(scaler.pushFrame(frame.get()));
        const auto before = planeBytes(*probe.last, 0, 64, 48);
        const EchoSwitch noEcho;
        for (const char* line : {"imgx,100", "imgws,0.5", "imgm,2"})
            QVERIFY(scaler.commands().interpret(QString::fromLatin1(line), noEcho).startsWith(QLatin1String("OK")));
        QCOMPARE(scaler.placement().mode.load(), kScalePadding);
        QVERIFY(scaler.pushFrame(frame.get()));
        QCOMPARE(scaler.placement().mode.load(), kScaleStretch);
        QCOMPARE(planeBytes(*probe.last, 0, 64, 48), before);
    }

    void commandsPlaceThePicture_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("picture");
        const auto row = [](const char* name, const QString& lines, const char* picture) {
            QTest::newRow(name) << lines.split(QLatin1Char(';')) << QString::fromLatin1(picture);
        };
        // A bright picture of 8 x 4 pixels on a target of 12 x 8.
        row("aspect fit fills the width and is centred, as far as even rows allow", QStringLiteral("imgm,1"),
            "############\n############\n############\n############\n############\n############\n............\n........"
            "...."
            "\n");
        row("stretch fills the target", QStringLiteral("imgm,0"),
            "############\n############\n############\n############\n############\n############\n############\n########"
            "####"
            "\n");
        row("padding keeps the size", QStringLiteral("imgm,2"),
            "########....\n########....\n########....\n########....\n............\n............\n............\n........"
            "...."
            "\n");
        row("position moves", QStringLiteral("imgm,2;imgx,2;imgmy,4"),
            "............\n............\n............\n............\n..########..\n..########..\n..########..\n..######"
            "##.."
            "\n");
        row("negative positions cut the picture off", QStringLiteral("imgm,2;imgx,-4;imgy,-2"),
            "####........\n####........\n............\n............\n............\n............\n............\n........"
            "...."
            "\n");
        row("scales shrink, odd sizes become even", QStringLiteral("imgm,2;imgws,0.65;imghs,0.5"),
            "######......\n######......\n............\n............\n............\n............\n............\n........"
            "...."
            "\n");
        row("far outside nothing is left", QStringLiteral("imgm,2;imgx,2147483647;imgy,-2147483648"),
            "............\n............\n............\n............\n............\n............\n............\n........"
            "...."
            "\n");
    }

    void commandsPlaceThePicture()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, picture);
        AVScaler scaler(kHalved, 12, 8, kScaleAspectFit, withoutServer(true));
        StageProbe probe;
        scaler.chain(probe);
        const ffmpeg::Frame frame = makePicture(kHalved, 8, 4);
        fill(*frame, 200, 90);
        const EchoSwitch noEcho;
        for (const QString& line : lines)
            QVERIFY(scaler.commands().interpret(line, noEcho).startsWith(QLatin1String("OK")));
        QVERIFY(scaler.pushFrame(frame.get()));
        QCOMPARE(drawn(*probe.last), picture);
        QVERIFY(scaler.pushFrame(frame.get()));
        QCOMPARE(probe.frames, 2);
    }

    void givesAHeldPictureItsOwnMemory()
    {
        AVScaler scaler(kHalved, 64, 48, kScaleAspectFit, withoutServer());
        StageProbe probe;
        scaler.chain(probe);
        const ffmpeg::Frame bright = makePicture(kHalved, 32, 24);
        const ffmpeg::Frame dark = makePicture(kHalved, 32, 24);
        fill(*bright, 200, 128);
        fill(*dark, 20, 128);
        QVERIFY(scaler.pushFrame(bright.get()));
        const ffmpeg::Frame held(av_frame_clone(probe.last.get()));
        QVERIFY(scaler.pushFrame(dark.get()));
        QCOMPARE(int(held->data[0][0]), 200);
        QCOMPARE(int(probe.last->data[0][0]), 20);
    }

    void refusesImpossibleTargets()
    {
        const ffmpeg::Frame frame = makePicture(kHalved, 32, 24);
        for (const auto& [format, width, height] :
             {std::tuple{-1, 64, 48}, {int(kHalved), 0, 48}, {int(kHalved), 64, -2}}) {
            AVScaler scaler(format, width, height, kScaleAspectFit, withoutServer());
            QVERIFY(!scaler.pushFrame(frame.get()));
        }
    }
};

PLUGBOARD_SUITE(ScalerTest)
#include "scaler_test.moc"
