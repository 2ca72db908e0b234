#include "media/media_reader.h"
#include "tests/media/media_files.h"
#include "tests/support/suite_registry.h"
#include "tools/media/picture_window.h"

#include <QtTest>

class PictureWindowTest : public QObject
{
    Q_OBJECT

private slots:
    /// The mark's text is white. The clip's pictures are dark at first, and no timer runs before the first one is
    /// shown.
    void firstPictureBearsNoMark()
    {
        av_log_set_level(AV_LOG_QUIET);
        VideoFileSettings settings;
        settings.url = mediaFile("brighter.mkv").toStdString();
        settings.selector = kSelectVideo;
        settings.width = 160;
        settings.height = 480;
        settings.scaling.serverName.clear();
        PictureWindow window(settings);
        const auto hasMark = [&window] {
            QImage seen(window.size(), QImage::Format_RGB32);
            window.render(&seen, {}, {}, QWidget::DrawWindowBackground); // without its slider
            for (int y = seen.height() - 100; y < seen.height(); ++y) {
                for (int x = 0; x < seen.width(); ++x) {
                    if (qGray(seen.pixel(x, y)) > 240)
                        return true;
                }
            }
            return false;
        };
        QVERIFY(hasMark()); // it connects
        QElapsedTimer waited;
        waited.start();
        while ((window.shownPictures() == 0 || hasMark()) && waited.elapsed() < 10000) {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
            QThread::msleep(1);
        }
        QVERIFY(window.shownPictures() > 0);
        QVERIFY(!hasMark());
    }
};

PLUGBOARD_SUITE(PictureWindowTest)
#include "picture_window_test.moc"
