#include "media/av_text_filter.h"
#include "media/opencv_text_filter.h"
#include "tests/media/stage_probe.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

#include <cmath>

class OverlayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void countsFrames()
    {
        std::chrono::nanoseconds now(5'000'000'000);
        FrameRateCounter counter([&now] { return now; });
        counter.update(); // No time has passed: no infinity on the picture.
        QCOMPARE(counter.averageRate(), 0.0);
        QCOMPARE(counter.currentRate(), 1.0);
        for (int frame = 0; frame < 300; ++frame) {
            now += std::chrono::milliseconds(10);
            counter.update();
        }
        QCOMPARE(counter.frameCount(), 301u);
        QCOMPARE(counter.currentRate(), 101.0); // A stamp of exactly one second ago still counts.
        QCOMPARE(counter.elapsed(), 3.0);
        QVERIFY(std::abs(counter.averageRate() - 301 / 3.0) < 1e-6);
        now += std::chrono::milliseconds(1001);
        counter.update();
        QCOMPARE(counter.currentRate(), 1.0);
        QVERIFY(std::abs(counter.averageRate() - 302 / 4.001) < 1e-6);
    }

    void drawsOnlyItsBox_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("redLuma");
        for (const auto& [format, luma] : {std::pair{AV_PIX_FMT_YUV420P, 82},
                                           {AV_PIX_FMT_YUVJ420P, 76},
                                           {AV_PIX_FMT_YUV422P, 82},
                                           {AV_PIX_FMT_YUV444P, 82},
                                           {AV_PIX_FMT_NV12, 82},
                                           {AV_PIX_FMT_RGB24, 255}})
            QTest::newRow(av_get_pix_fmt_name(format)) << int(format) << luma;
    }

    void drawsOnlyItsBox()
    {
        QFETCH(int, format);
        QFETCH(int, redLuma);
        for (const QSize size : {QSize(1280, 720), QSize(321, 241), QSize(33, 17)}) {
            TextBox box;
            box.layOut({"FPS:30.0", "pic:0,0,1280,720"}, 10, 10, size.width(), size.height());
            const cv::Rect area = box.area();
            QVERIFY((area & cv::Rect(0, 0, size.width(), size.height())) == area);
            if (size.width() == 1280)
                QCOMPARE(area.tl(), cv::Point(10, 10));
            const ffmpeg::Frame frame = patternPicture(format, size.width(), size.height());
            const ffmpeg::Frame before = patternPicture(format, size.width(), size.height());
            box.draw(*frame);
            int white = 0;
            const int step = format == AV_PIX_FMT_RGB24 ? 3 : 1;
            for (int row = 0; row < size.height(); ++row) {
                for (int column = 0; column < size.width(); ++column) {
                    const int index = row * frame->linesize[0] + column * step;
                    const int found = frame->data[0][index];
                    if (!area.contains(cv::Point(column, row)))
                        QCOMPARE(found, int(before->data[0][index]));
                    else if (found != redLuma)
                        ++white;
                }
            }
            if (format != AV_PIX_FMT_RGB24 && size.width() == 1280)
                QVERIFY(white > 200 && white < area.area() / 2);
            // A colour sample left and right of the box, and the last byte of every plane, are untouched.
            QCOMPARE(frame->buf[0]->data[frame->buf[0]->size - 1], before->buf[0]->data[before->buf[0]->size - 1]);
            if (format == AV_PIX_FMT_YUV420P && area.x >= 2) {
                const int index = (area.y / 2) * frame->linesize[1] + area.x / 2;
                QCOMPARE(frame->data[1][index - 1], before->data[1][index - 1]);
                QCOMPARE(int(frame->data[1][index]), 90);
                QCOMPARE(int(frame->data[2][index]), 240);
            }
        }
    }

    /// Every printable character, alone and beside every kind of neighbour.
    void composesWhatOpenCvDraws()
    {
        std::string all;
        for (char character = ' '; character <= '~'; ++character)
            all += character;
        for (const std::string& line : {all, std::string(all.rbegin(), all.rend()),
                                        std::string("FPS:30.0 FPS_AVG:29.9 FRAME_CNT:1234 TIME:41.133333")}) {
            TextBox box;
            box.layOut({line, "pic:-4,0,640,480"}, 10, 10, 4000, 200);
            int baseline = 0;
            const cv::Size size = cv::getTextSize(line, cv::FONT_HERSHEY_SIMPLEX, 1.0, 2, &baseline);
            QVERIFY(box.area().width - (size.width + 20) <= 1);
            cv::Mat expected = cv::Mat::zeros(box.mask().size(), CV_8UC1);
            const int step = size.height + 5;
            cv::putText(expected, line, cv::Point(10, step), cv::FONT_HERSHEY_SIMPLEX, 1.0, cv::Scalar(255), 2,
                        cv::LINE_8);
            cv::putText(expected, "pic:-4,0,640,480", cv::Point(10, 2 * step), cv::FONT_HERSHEY_SIMPLEX, 1.0,
                        cv::Scalar(255), 2, cv::LINE_8);
            QCOMPARE(cv::countNonZero(expected != box.mask()), 0);
        }
    }

    /// A decoder still looks at the pictures it has handed out.
    void leavesSharedPicturesAlone()
    {
        const PrintedText printed;
        OpenCVTextFilter filter(640, 480);
        StageProbe probe;
        filter.chain(probe);
        const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 640, 480);
        const ffmpeg::Frame reference(av_frame_clone(frame.get()));
        const auto before = planeBytes(*frame, 0, 640, 480);
        QVERIFY(filter.pushFrame(frame.get()));
        QCOMPARE(planeBytes(*reference, 0, 640, 480), before);
        QVERIFY(planeBytes(*probe.last, 0, 640, 480) != before);
        probe.last.reset();
        QCOMPARE(planeBytes(*frame, 0, 640, 480), before);

        const ffmpeg::Frame own = patternPicture(AV_PIX_FMT_YUV420P, 640, 480);
        QVERIFY(filter.pushFrame(own.get()));
        QCOMPARE(probe.last->data[0], own->data[0]);
    }

    void saysWhatIsWrong()
    {
        PrintedText printed;
        const ffmpeg::Frame frame = patternPicture(AV_PIX_FMT_YUV420P, 64, 48);
        OpenCVTextFilter broken(0, 480);
        QCOMPARE(printed.take(), std::string("Invalid dimensions: 0x480\n"));
        StageProbe probe;
        broken.chain(probe);
        QVERIFY(broken.pushFrame(frame.get()));
        QVERIFY(broken.pushFrame(frame.get()));
        QCOMPARE(printed.take(), std::string("OpenCVTextFilter not initialized\nOpenCVTextFilter not initialized\n"));

        OpenCVTextFilter filter(64, 48);
        QCOMPARE(printed.take(), std::string("OpenCVTextFilter initialized with size: 64x48\n"));
        filter.chain(probe);
        filter.pushFrame(nullptr);
        QCOMPARE(printed.take(), std::string("Invalid frame\n"));
        const ffmpeg::Frame deep = patternPicture(AV_PIX_FMT_YUV420P10LE, 64, 48);
        const int frames = probe.frames;
        QVERIFY(filter.pushFrame(deep.get()));
        QCOMPARE(probe.frames, frames + 1);
        QVERIFY(printed.take().find("Failed to convert AVFrame to cv::Mat") != std::string::npos);
    }

    void drawtextWritesTheStatistics()
    {
        PrintedText printed;
        AVTextFilter filter;
        StageProbe probe;
        filter.chain(probe);
        std::vector<std::uint8_t> before;
        for (int number = 0; number < 3; ++number) {
            const ffmpeg::Frame frame = makePicture(AV_PIX_FMT_YUV420P, 640, 240);
            QVERIFY(filter.pushFrame(frame.get()));
            QVERIFY(filter.isBuilt());
            const int bright =
                int(std::count_if(probe.last->data[0], probe.last->data[0] + 240 * probe.last->linesize[0],
                                  [](std::uint8_t value) { return value > 200; }));
            QVERIFY2(bright > 500, "no white text on the picture");
            const auto drawn = planeBytes(*probe.last, 0, 640, 240);
            QVERIFY2(drawn != before, "the text does not count the pictures");
            before = drawn;
            QCOMPARE(int(probe.last->data[0][0]), 0);
        }
        const std::string text = printed.take();
        QVERIFY(text.find("Filter graph description: drawtext=fontfile='") == 0);
        QVERIFY(text.find("':text='init':fontcolor=white:fontsize=48:box=1:boxcolor=red@0.8:x=50:y=50\n") !=
                std::string::npos);
        QVERIFY(text.find("Filter graph created successfully\n") != std::string::npos);
        QCOMPARE(text.find("Filter graph", text.find("created")), std::string::npos);
    }

    /// Nothing can draw on a picture in device memory: it passes as it is.
    void drawtextFollowsTheFormat()
    {
        const PrintedText printed;
        AVTextFilter filter;
        StageProbe probe;
        filter.chain(probe);
        for (const auto& [format, width] : {std::pair{AV_PIX_FMT_VAAPI, 320},
                                            {AV_PIX_FMT_YUV420P, 320},
                                            {AV_PIX_FMT_YUV420P, 640},
                                            {AV_PIX_FMT_NV12, 640},
                                            {AV_PIX_FMT_VAAPI, 640}}) {
            const bool drawable = format != AV_PIX_FMT_VAAPI;
            const ffmpeg::Frame frame = makePicture(drawable ? format : AV_PIX_FMT_YUV420P, width, 240);
            frame->format = format;
            const std::uint8_t* const data = frame->data[0];
            QVERIFY(filter.pushFrame(frame.get()));
            QCOMPARE(filter.isBuilt(), drawable);
            QCOMPARE(probe.last->format, int(format));
            QCOMPARE(probe.last->width, width);
            QVERIFY(drawable || probe.last->data[0] == data);
        }
        QCOMPARE(probe.frames, 5);
    }
};

PLUGBOARD_SUITE(OverlayTest)
#include "overlay_test.moc"
