#include "emulation/usb/isochronous_pacer.h"
#include "emulation/video/camera_feed.h"
#include "media/media_reader.h"
#include "tests/media/media_files.h"
#include "tests/support/suite_registry.h"
#include "tests/video/camera_host.h"
#include "tests/video/film_packets.h"

#include <QRandomGenerator>
#include <QtTest>

#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr auto kPatience = 60s; // of real time
constexpr auto kLongestPoll = 3ms;
constexpr int kFilm = 30; // pictures of each film, 25 a second

/// A film on its way to a host.
class Screening
{
public:
    Screening(const char* film, int codec, int rate)
        : m_setup(uvc::cameraSetup(cameraDescription({}, codec, codec == 0 ? 0 : -1, 160, 120, rate)).take())
        , m_processing(m_setup.isRaw(), false)
        , m_packets(packetsOf(mediaFile(film)))
        , m_player(settings(mediaFile(film)))
        , feed(
              m_setup, m_processing, [] {}, [this] { return now; })
    {
        m_player.start();
        feed.setPlayer(&m_player, false);
        feed.start();
        settle();
    }

    /// Deals with what is due by now, however long the source takes for it; how long the feed then wants to wait, 0
    /// when the source does not bring what is due.
    std::chrono::milliseconds settle()
    {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (std::chrono::steady_clock::now() < end) {
            const auto wait = feed.turn();
            while (const uvc::PicturePointer picture = hostTakes ? feed.take() : nullptr)
                m_taken.push_back(numberOf(*picture));
            if (wait > kLongestPoll)
                return wait;
            if (m_taken.empty())
                QCoreApplication::processEvents(); // the source is made ready on its own thread and on this one
            std::this_thread::sleep_for(50us);
        }
        return 0ms;
    }

    /// Goes on to where the feed next has something to do, until some time.
    bool goOn(PictureClock::Time until)
    {
        for (auto wait = settle(); wait > 0ms; wait = settle()) {
            if (now + wait > until)
                return true;
            now += wait;
        }
        return false;
    }

    /// When a picture is due; the first one is 0.
    PictureClock::Time at(int picture) const { return kBegin + picture * 1000ms / m_setup.rate; }

    /// The numbers of the pictures that the host has taken; -1: none of the film's.
    const std::vector<int>& taken() const { return m_taken; }

    PictureClock::Time now = kBegin;
    bool hostTakes = true;

private:
    static constexpr PictureClock::Time kBegin{100s};

    /// Raw pictures are each brighter by 7 than the one before; of JPEG the packets are the film's own. Those that need
    /// each other are just counted.
    int numberOf(const std::vector<std::uint8_t>& picture) const
    {
        if (m_setup.isRaw())
            return (picture[119 * 160 + 80] - 20 + 3) / 7;
        if (m_setup.isInterCoded())
            return int(m_taken.size());
        const QByteArray bytes(reinterpret_cast<const char*>(picture.data()), int(picture.size()));
        const auto found = std::find(m_packets.begin(), m_packets.end(), bytes);
        return found == m_packets.end() ? -1 : int(found - m_packets.begin());
    }

    VideoFileSettings settings(const QString& film) const
    {
        VideoFileSettings settings;
        settings.url = film.toStdString();
        settings.selector = kSelectVideo;
        settings.codec = AVCodecID(m_setup.codecId);
        settings.pixelFormat = m_setup.pixelFormat;
        settings.width = m_setup.width;
        settings.height = m_setup.height;
        settings.frameRate = m_setup.isRaw() ? 0 : m_setup.rate;
        settings.exactOutput = true;
        settings.overflow = AVMediaSink::Overflow::StayClose;
        settings.queue.items = 3;
        return settings;
    }

    const uvc::CameraSetup m_setup;
    const uvc::ProcessingUnit m_processing;
    const std::vector<QByteArray> m_packets;
    SourcePlayer m_player;
    std::vector<int> m_taken;

public:
    uvc::CameraFeed feed;
};

constexpr int kMjpeg = 7;
constexpr int kH264 = 27;

} // namespace

/// Which pictures of a film are shown when, on a clock of the test: how fast the machine is changes nothing.
class CameraFeedTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void keepsTheSpeedOfTheSource_data()
    {
        QTest::addColumn<int>("rate");
        QTest::newRow("pictures twice") << 50;
        QTest::newRow("pictures left out") << 10;
    }

    /// Two seconds, over the end of the film.
    void keepsTheSpeedOfTheSource()
    {
        QFETCH(int, rate);
        Screening screening("brighter.mkv", 0, rate);
        QVERIFY(screening.goOn(screening.at(2 * rate)));
        std::vector<int> expected;
        for (int picture = 0; picture <= 2 * rate; ++picture)
            expected.push_back(int(std::lround(picture * 25.0 / rate)) % kFilm);
        QCOMPARE(screening.taken(), expected);
    }

    /// What it missed is gone: half a second, twelve pictures.
    void slowHostGetsTheNewest()
    {
        Screening screening("mjpeg.avi", kMjpeg, 25);
        screening.hostTakes = false;
        QVERIFY(screening.goOn(screening.at(15)));
        screening.hostTakes = true;
        QVERIFY(screening.goOn(screening.at(16)));
        QCOMPARE(screening.taken(), std::vector<int>({0, 13, 14, 15, 16}));
        QCOMPARE(screening.feed.counts().dropped, std::int64_t(12));
    }

    void catchesUp_data()
    {
        QTest::addColumn<QString>("film");
        QTest::addColumn<int>("codec");
        QTest::addColumn<int>("late");    // pictures
        QTest::addColumn<int>("missing"); // pictures of the film that are never made up for
        const auto addRow = [](const char* name, const char* film, int codec, int late, int missing) {
            QTest::newRow(name) << QString::fromLatin1(film) << codec << late << missing;
        };
        addRow("what finds room comes", "mjpeg.avi", kMjpeg, 10, 0);
        addRow("what finds none comes at twice the speed", "mjpeg.avi", kMjpeg, 75, 0);
        addRow("raw pictures", "brighter.mkv", 0, 75, 0);
        addRow("pictures that need each other all come", "h264_aac.mp4", kH264, 75, 0);
        addRow("from far away it goes on where it was", "mjpeg.avi", kMjpeg, 175, 174);
    }

    /// Something has held up the camera after its first picture; five seconds later.
    void catchesUp()
    {
        QFETCH(QString, film);
        QFETCH(int, codec);
        QFETCH(int, late);
        QFETCH(int, missing);
        Screening screening(film.toLatin1().constData(), codec, 25);
        screening.now = screening.at(late);
        const int end = late + 125;
        QVERIFY(screening.goOn(screening.at(end)));
        const std::vector<int>& taken = screening.taken();
        const int loop = codec == kH264 ? end + 1 : kFilm;
        QCOMPARE(taken.back(), (end - missing) % loop);
        QCOMPARE(int(taken.size()), end - missing + 1);
        for (std::size_t i = 0; i < taken.size(); ++i)
            QCOMPARE(taken[i], int(i) % loop);
        QCOMPARE(screening.feed.counts().dropped, std::int64_t(0));
        QCOMPARE(screening.feed.counts().standIns, std::int64_t(0));
    }

    /// Late by some milliseconds each time, and now and then by seconds.
    void staysWithTheClockForTenMinutes()
    {
        Screening screening("mjpeg.avi", kMjpeg, 25);
        QRandomGenerator random(1);
        const auto pictures = [&] { return int((screening.now - screening.at(0)) / 40ms); };
        while (pictures() < 600 * 25) {
            const bool isHeldUp = random.bounded(500) == 0;
            screening.now = screening.at(pictures() + 1) + random.bounded(6) * 5ms; // no wait is as short as a poll
            if (isHeldUp)
                screening.now += 2s;
            QVERIFY(screening.goOn(screening.now + (isHeldUp ? 4s : 0s)));
            QCOMPARE(screening.taken().back(), pictures() % kFilm);
        }
        QCOMPARE(int(screening.taken().size()), pictures() + 1);
        QCOMPARE(screening.feed.counts().standIns, std::int64_t(0));
    }
};

PLUGBOARD_SUITE(CameraFeedTest)
#include "camera_feed_test.moc"
