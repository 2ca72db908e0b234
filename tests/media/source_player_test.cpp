#include "media/source_player.h"
#include "tests/media/media_files.h"
#include "tests/media/stage_probe.h"
#include "tests/support/loopback_server.h"
#include "tests/support/suite_registry.h"
#include "tools/media/picture_feed.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <set>

namespace {

VideoFileSettings settingsFor(const QString& url)
{
    VideoFileSettings settings;
    settings.url = url.toStdString();
    settings.selector = 0;
    settings.width = 0;
    settings.height = 0;
    settings.frameRate = 0;
    settings.scaling = withoutServer(true);
    settings.scaling.placement = std::make_shared<PlacementState>(kScaleAspectFit);
    settings.overflow = AVMediaSink::Overflow::StayClose;
    settings.queue.items = 3;
    settings.queueTime = std::chrono::milliseconds(50);
    return settings;
}

constexpr SourcePlayer::Pauses kShort = {std::chrono::milliseconds(1), std::chrono::milliseconds(4)};

/// Keeps the first item that comes; true once there is one.
struct FirstItem
{
    bool comesFrom(SourcePlayer& player)
    {
        if (!item)
            item = player.take();
        return item.has_value();
    }
    std::optional<MediaItem> item;
};

QByteArray film()
{
    return httpAnswer("video/mp2t", contentOf(mediaFile("h264_aac.ts")));
}

} // namespace

class SourcePlayerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    /// A web server that refuses, sends garbage, and comes back; what it sends then ends and comes again.
    void triesAgainUntilItPlays()
    {
        const QByteArray busy = "HTTP/1.1 503 Busy\r\n\r\n";
        const QByteArray garbage = httpAnswer("video/mp2t", QByteArray(5000, '#'));
        const LoopbackServer server(film(), LoopbackServer::Ending::Close, {busy, garbage, {}, film(), film(), busy});
        SourcePlayer player(settingsFor(server.url("http", "/video")), kShort);
        QSignalSpy losses(&player, &SourcePlayer::lost);
        QCOMPARE(int(player.status().state), int(SourceState::Connecting));
        player.start();
        int pictures = 0;
        QTRY_VERIFY_WITH_TIMEOUT((pictures += player.take().has_value()) >= 70, 60000);
        QCOMPARE(int(player.status().state), int(SourceState::Playing));
        QVERIFY(losses.count() >= 4);
        QCOMPARE(player.runs(), losses.count() + 1);
        QCOMPARE(losses.first().first().toString(), QStringLiteral("Server returned 5XX Server Error reply"));
        player.stop();
    }

    void saysThatItStalls()
    {
        const QByteArray whole = film();
        const LoopbackServer server({}, LoopbackServer::Ending::Stall, {whole.left(whole.size() * 2 / 3)});
        VideoFileSettings settings = settingsFor(server.url("http", "/video"));
        settings.inputTimeLimit = std::chrono::seconds(4);
        SourcePlayer player(settings, kShort);
        player.start();
        FirstItem first;
        QTRY_VERIFY_WITH_TIMEOUT(first.comesFrom(player), 30000);
        const auto becomes = [&](SourceState state) {
            player.take();
            return player.status().state == state;
        };
        QTRY_VERIFY_WITH_TIMEOUT(becomes(SourceState::Stalled), 30000);
        QVERIFY2(player.status().reason.find("nothing has come for") == 0, player.status().reason.c_str());
        // The reader opens the source again, in vain; the next run says why it connects.
        QTRY_VERIFY_WITH_TIMEOUT(becomes(SourceState::Connecting) && player.runs() == 2, 30000);
        QCOMPARE(player.status().reason, std::string("nothing came for 4 s"));
    }

    void fileThatComesBackPlaysOn()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("film.mkv"));
        SourcePlayer player(settingsFor(path), kShort);
        player.start();
        QTRY_VERIFY(player.runs() >= 3);
        QVERIFY(QFile::copy(mediaFile("vp9_opus.webm"), path));
        FirstItem first;
        QTRY_VERIFY_WITH_TIMEOUT(first.comesFrom(player), 30000);
    }

    /// After a day of pictures, the next one is due when the day is over.
    void clockAddsNoRounding()
    {
        for (const AVRational rate : {AVRational{24, 1}, {60000, 1001}, {60, 1}, {144, 1}}) {
            const PictureClock::Time start = std::chrono::steady_clock::now();
            PictureClock clock;
            clock.restart(start, rate);
            const std::int64_t pictures = 86400LL * rate.num / rate.den;
            for (std::int64_t picture = 0; picture < pictures; ++picture)
                clock.advance();
            const auto error =
                clock.due() - start - std::chrono::nanoseconds(pictures * 1'000'000'000 / rate.num * rate.den);
            QVERIFY2(std::abs(std::chrono::duration<double>(error).count()) < 0.001,
                     qPrintable(QString::number(rate.num)));
        }
    }

    /// Between a command and the picture that shows it, no more pictures come than wait and than are being made.
    void commandsActOnTheNextPictures()
    {
        const VideoFileSettings settings = settingsFor(mediaFile("brighter.mkv")); // Always brighter than black.
        SourcePlayer player(settings, kShort);
        player.start();
        for (int round = 0; round < 10; ++round) {
            FirstItem first;
            QTRY_VERIFY_WITH_TIMEOUT(first.comesFrom(player), 30000);
            const bool isOut = round % 2 == 0;
            settings.scaling.placement->y = isOut ? 200 : 0;
            int before = 0;
            const auto shows = [&] {
                const std::optional<MediaItem> item = player.take(std::chrono::seconds(5));
                // The last row is black when the picture has been moved out.
                return item && (item->bytes.at(119 * 160 + 80) == 16) == isOut;
            };
            while (!shows() && before < 100)
                ++before;
            QVERIFY2(before <= 2, qPrintable(QString::number(before)));
        }
    }

    void pausesAndSteps()
    {
        SourcePlayer player(settingsFor(mediaFile("h264_aac.mp4")), kShort);
        PictureFeed feed(player);
        feed.pause(true);
        player.start();
        feed.start();
        for (int steps = 1; steps <= 3; ++steps) {
            feed.step();
            QTRY_COMPARE_WITH_TIMEOUT(feed.shown(), std::int64_t(steps), 30000);
        }
        QCOMPARE(feed.picture().size(), QSize(160, 120)); // and the rate, too, is the source's
        QCOMPARE(av_cmp_q(player.pictureRate(), {25, 1}), 0);
        feed.pause(false);
        QTRY_VERIFY_WITH_TIMEOUT(feed.shown() > 10, 30000);
        player.stop();
    }

    /// Each block says after which picture it came; pictures do not wait for who takes no sound.
    void soundGoesItsOwnWay()
    {
        VideoFileSettings settings = settingsFor(mediaFile("h264_aac.mp4"));
        settings.selector = -1;
        settings.sound = std::make_shared<AVMediaSink>();
        SourcePlayer player(settings, kShort);
        player.start();
        for (std::uint64_t picture = 0; picture < 20; ++picture) {
            const std::optional<MediaItem> item = player.take(std::chrono::seconds(30));
            QVERIFY(item && item->width == 160);
            QCOMPARE(item->number, picture);
        }
        std::int64_t last = 0;
        double seconds = 0;
        while (const std::optional<MediaItem> block = settings.sound->take()) {
            QVERIFY(block->width == 0 && block->timeStamp >= last);
            last = block->timeStamp;
            seconds += double(block->bytes.size()) / 4 / 48000;
            QVERIFY2(std::abs(double(last) / 25 - seconds) < 0.5, qPrintable(QString::number(seconds)));
        }
        QVERIFY(last > 15);
        settings.sound->stopQueue(); // from here on it refuses
        for (int picture = 0; picture < 40; ++picture)
            QVERIFY(player.take(std::chrono::seconds(30)));
        QCOMPARE(player.runs(), 1);
    }

    /// The clips become brighter by 7 with each picture and have a key picture in every ten packets. Containers look
    /// for it in the order of decoding, in which a key picture comes before those that are shown before it.
    void goesWhereItIsAsked()
    {
        for (const char* file : {"brighter.mp4", "brighter.mkv"}) {
            SourcePlayer player(settingsFor(mediaFile(file)), kShort);
            player.start();
            FirstItem first;
            QTRY_VERIFY_WITH_TIMEOUT(first.comesFrom(player), 30000);
            QVERIFY(std::abs(player.duration().count() - 1200) <= 80);
            for (const int milliseconds : {1000, 500, 900, 0}) {
                player.seek(std::chrono::milliseconds(milliseconds));
                const std::optional<MediaItem> item = player.take(std::chrono::seconds(10));
                QVERIFY(item);
                const double picture = (item->bytes.at(119 * 160 + 80) - 20) / 7.0;
                const double wanted = milliseconds / 40.0;
                QVERIFY2(picture > wanted - 14 && picture < wanted + 3,
                         qPrintable(QString::number(picture) + QLatin1String(file)));
            }
        }
    }

private:
    const PrintedText m_printed;
};

PLUGBOARD_SUITE(SourcePlayerTest)
#include "source_player_test.moc"
