#include "emulation/audio/audio_descriptors.h"
#include "emulation/audio/wav_writer.h"
#include "emulation/microphone/microphone.h"
#include "tests/emulation/function_host.h"
#include "tests/support/suite_registry.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <deque>

using audio::ClassVersion;
using audio::Microphone;
using audio::MicrophoneSettings;
using audio::SoundFeed;
using audio::SoundFormat;

namespace {

constexpr std::uint8_t kInEndpoint = 0x81;

/// Samples of which none is 0, so that what is lost or silent shows.
std::vector<std::int16_t> noise(std::size_t samples)
{
    QRandomGenerator random(1);
    std::vector<std::int16_t> result(samples);
    std::generate(result.begin(), result.end(), [&] { return std::int16_t(1 + random.bounded(32000)); });
    return result;
}

QByteArray bytesOf(const std::vector<std::int16_t>& samples)
{
    return {reinterpret_cast<const char*>(samples.data()), int(samples.size() * sizeof(std::int16_t))};
}

/// A microphone that plays a file of noise, and its host.
struct Recording
{
    Recording(const SoundFormat& format, std::size_t frames, MicrophoneSettings settings = {},
              std::uint16_t usbVersion = 0x0200)
        : sound(noise(frames * std::size_t(format.channels)))
        , frameBytes(int(format.frameBytes()))
    {
        const QByteArray bytes = bytesOf(sound);
        audio::WavWriter::create(path(), format).take()->append(bytes.constData(), std::size_t(bytes.size()));
        settings.format = format;
        settings.source = path();
        usb::DeviceDescriptors identity;
        identity.bcdUSB = usbVersion;
        microphone = std::make_unique<Microphone>(identity, settings, [this] { return now(); });
        host = std::make_unique<FunctionHost>(*microphone);
        host->configure();
        host->control(QStringLiteral("010b010001000000"));
    }
    ~Recording() { host.reset(); }

    QString path() const { return folder.filePath(QStringLiteral("sound.wav")); }
    std::chrono::nanoseconds now() const { return usb::IsochronousPacer::steadyClock()() + later; }

    /// What the host gets in so many packets.
    QByteArray record(int packets)
    {
        const std::uint32_t room = audio::streamEndpoint(microphone->descriptors()).maxPacketSize;
        QByteArray heard;
        for (int left = packets; left > 0; left -= 40) {
            const std::uint32_t number = host->isochronousIn(kInEndpoint, std::min(left, 40), room);
            if (!QTest::qWaitFor([&] { return host->isDone(number); }))
                return "no sound";
            heard += host->data(number);
        }
        return heard;
    }

    /// Until the source has begun: what comes before is silence.
    QByteArray recordFromItsBegin(int packets)
    {
        QByteArray heard;
        for (int turn = 0; heard.isEmpty() && turn < 3000; ++turn) {
            const QByteArray first = record(8);
            const auto begin = std::find_if(first.begin(), first.end(), [](char byte) { return byte != 0; });
            heard = first.mid(int(begin - first.begin()) / frameBytes * frameBytes);
        }
        return heard + record(packets);
    }

    std::vector<std::int16_t> sound;
    const int frameBytes;
    QTemporaryDir folder;
    std::chrono::nanoseconds later{0}; ///< that the clock is ahead by
    std::unique_ptr<Microphone> microphone;
    std::unique_ptr<FunctionHost> host;
};

} // namespace

namespace {

/// A feed whose source gives `rate` frames a second in blocks, and whose host takes 1 ms at a time.
struct Flow
{
    Flow(bool isRealTime, int blockMilliseconds)
        : feed({1, kRate}, isRealTime, [this](std::vector<std::uint8_t>& block) { return next(block); })
        , m_block(std::size_t(blockMilliseconds * kRate / 1000))
    {
        feed.setLive(true);
    }

    bool next(std::vector<std::uint8_t>& block)
    {
        if (m_blocks.empty())
            return false;
        block = std::move(m_blocks.front());
        m_blocks.pop_front();
        return true;
    }

    /// The source's clock runs by so many parts per million fast; the resampler does what the feed wants.
    void run(double seconds, double clock, bool sourceGives = true)
    {
        std::vector<std::int16_t> heard(kRate / 1000);
        for (int millisecond = 0; millisecond < seconds * 1000; ++millisecond) {
            if (sourceGives)
                m_made += kRate / 1000.0 * (1 + clock / 1e6) * (1 + feed.speed() / 1e6);
            for (; m_made >= double(m_block); m_made -= double(m_block))
                m_blocks.emplace_back(m_block * 2, std::uint8_t(1));
            feed.read(heard.data(), heard.size());
            silent += std::size_t(std::count(heard.begin(), heard.end(), 0));
        }
    }

    /// What came while the host took nothing.
    void give(double seconds) { m_made += kRate * seconds; }

    static constexpr int kRate = 48000;
    SoundFeed feed;
    std::size_t silent = 0; ///< frames

private:
    const std::size_t m_block;
    double m_made = 0;
    std::deque<std::vector<std::uint8_t>> m_blocks;
};

} // namespace

/// The microphone as a host that records sees it, and the store between a source and a host.
class MicrophoneTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { av_log_set_level(AV_LOG_QUIET); }
    void givesEverySampleOfItsSource_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<int>("usbVersion");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("rate");
        const auto addRow = [](const char* name, int version, int usbVersion, int channels, int rate) {
            QTest::newRow(name) << version << usbVersion << channels << rate;
        };
        addRow("1.0, full speed, mono, 8 kHz", 1, 0x0200, 1, 8000);
        addRow("1.0, full speed, stereo, 11.025 kHz", 1, 0x0200, 2, 11025);
        addRow("1.0, full speed, 5.1, 44.1 kHz", 1, 0x0200, 6, 44100);
        addRow("1.0, SuperSpeed, stereo, 48 kHz", 1, 0x0300, 2, 48000);
        addRow("1.0, high speed, 7.1, 96 kHz", 1, 0x0200, 8, 96000);
        addRow("2.0, high speed, 3 channels, 16 kHz", 2, 0x0200, 3, 16000);
        addRow("2.0, SuperSpeed, stereo, 44.1 kHz", 2, 0x0300, 2, 44100);
        addRow("2.0, high speed, 7.1, 192 kHz", 2, 0x0200, 8, 192000);
    }

    /// Over the end of the file and into its beginning.
    void givesEverySampleOfItsSource()
    {
        QFETCH(int, version);
        QFETCH(int, usbVersion);
        QFETCH(int, channels);
        QFETCH(int, rate);
        MicrophoneSettings settings;
        settings.version = version == 1 ? ClassVersion::V1 : ClassVersion::V2;
        Recording recording({channels, rate}, std::size_t(rate) / 5, settings, std::uint16_t(usbVersion));
        const QByteArray sound = bytesOf(recording.sound);
        const auto& endpoint = audio::streamEndpoint(recording.microphone->descriptors());
        const auto interval = usb::isochronousInterval(recording.microphone->descriptors().speed, endpoint.bInterval);
        const QByteArray heard = recording.recordFromItsBegin(int(std::chrono::milliseconds(300) / interval));
        QVERIFY2(heard.size() > sound.size() * 5 / 4, qPrintable(QString::number(heard.size())));
        QVERIFY(heard.startsWith(sound));
        QVERIFY((sound + sound).startsWith(heard.mid(sound.size())));
        QVERIFY2(recording.microphone->status().contains(QStringLiteral("broke off 0 times")),
                 qPrintable(recording.microphone->status()));
        const double due = std::chrono::duration<double>(interval).count() * 120 * rate;
        QVERIFY(std::abs(recording.record(120).size() / recording.frameBytes - due) <= 1);
    }

    void playsOnceWhereItShallNotLoop()
    {
        MicrophoneSettings settings;
        settings.loops = false;
        Recording recording({2, 48000}, 4800, settings);
        const QByteArray sound = bytesOf(recording.sound);
        const QByteArray heard = recording.recordFromItsBegin(200);
        QVERIFY(heard.startsWith(sound));
        QCOMPARE(heard.mid(sound.size()).count('\0'), heard.size() - sound.size());
        QVERIFY2(recording.microphone->status().startsWith(QStringLiteral("source ended")),
                 qPrintable(recording.microphone->status()));
        QCOMPARE(recording.microphone->run(QStringLiteral("seek 0.05")), QStringLiteral("OK: at 0.1 s"));
        const QByteArray again = recording.recordFromItsBegin(60);
        QVERIFY(sound.indexOf(again.left(400)) > 0);
    }

    void playsAFileOnceItIsThere()
    {
        Recording recording({1, 8000}, 1600);
        recording.host->control(QStringLiteral("0009000000000000"));
        const QString away = recording.path() + QStringLiteral(".away");
        QVERIFY(QFile::rename(recording.path(), away));
        recording.host->configure();
        recording.host->control(QStringLiteral("010b010001000000"));
        const QString status = recording.microphone->status();
        QVERIFY2(status.startsWith(QStringLiteral("source lost (there is no such file); ")), qPrintable(status));
        QVERIFY(QFile::rename(away, recording.path()));
        QVERIFY(recording.recordFromItsBegin(8).startsWith(bytesOf(recording.sound).left(16)));
    }

    void takesCommands()
    {
        Recording recording({2, 48000}, 48000);
        const QByteArray sound = bytesOf(recording.sound);
        const QByteArray first = recording.recordFromItsBegin(20);
        QVERIFY(sound.startsWith(first));
        recording.microphone->run(QStringLiteral("pause"));
        const QByteArray paused = recording.record(40);
        QCOMPARE(paused.count('\0'), paused.size());
        recording.microphone->run(QStringLiteral("play"));
        QVERIFY(sound.mid(first.size()).startsWith(recording.record(20)));
        recording.host->control(QStringLiteral("2101000100020100"), "\1"); // mute
        const QByteArray muted = recording.record(20);
        QCOMPARE(muted.count('\0'), muted.size());
        QCOMPARE(recording.microphone->run(QStringLiteral("record /tmp/sound.wav")),
                 QStringLiteral("ERROR: A microphone knows: source FILE, pause, play, seek SECONDS, status."));
    }

    void dropsWhatIsLateOnlyInRealTime_data()
    {
        QTest::addColumn<bool>("isRealTime");
        QTest::newRow("real-time mode") << true;
        QTest::newRow("normal mode") << false;
    }

    /// A host that comes back 400 ms later than its last transfer ended.
    void dropsWhatIsLateOnlyInRealTime()
    {
        QFETCH(bool, isRealTime);
        MicrophoneSettings settings;
        settings.isRealTime = isRealTime;
        Recording recording({1, 48000}, 48000, settings);
        const QByteArray sound = bytesOf(recording.sound);
        const QByteArray first = recording.recordFromItsBegin(20);
        const int place = sound.indexOf(first);
        QVERIFY(place >= 0);
        recording.later += std::chrono::milliseconds(400);
        int next = sound.indexOf(recording.record(20));
        for (int turn = 0; isRealTime && next < 0 && turn < 100; ++turn)
            next = sound.indexOf(recording.record(8)); // what was not there in time is silence
        QVERIFY(next >= 0);
        const int between = (next - place - first.size()) / recording.frameBytes;
        if (isRealTime)
            QVERIFY2(between >= 48000 * 4 / 10, qPrintable(QString::number(between)));
        else
            QCOMPARE(between, 0);
    }

    void makesUpForALateHostUnlessItDrops_data() { dropsWhatIsLateOnlyInRealTime_data(); }
    /// 40 ms of sound for a host that is 400 ms late, on a clock of the test: there after 20 ms, or after 40.
    void makesUpForALateHostUnlessItDrops()
    {
        using namespace std::chrono_literals;
        QFETCH(bool, isRealTime);
        std::chrono::nanoseconds now = 5s;
        MicrophoneSettings settings;
        settings.isRealTime = isRealTime;
        Microphone microphone({}, settings, [&now] { return now; });
        FunctionHost host(microphone);
        host.configure();
        const auto submit = [&](const char* setup) {
            host.control(QString::fromLatin1(setup));
            return host.isochronousIn(kInEndpoint, 40, audio::streamEndpoint(microphone.descriptors()).maxPacketSize);
        };
        submit("010b010001000000");
        now += 400ms + 40ms;
        const std::uint32_t late = host.isochronousIn(kInEndpoint, 40, 0);
        now += 20ms;
        QTest::qWait(60); // the timer's time is not this clock's
        QCOMPARE(host.isDone(late), !isRealTime);
        submit("010b000001000000");
        const std::uint32_t other = submit("010b010001000000"); // another stream is not late
        now += 20ms;
        QTest::qWait(60);
        QVERIFY(!host.isDone(other));
        now += 20ms;
        QTRY_VERIFY(host.isDone(other));
    }

    void keepsAStoreOfALiveSource_data()
    {
        QTest::addColumn<bool>("isRealTime");
        QTest::addColumn<double>("pause"); // seconds without a block
        QTest::addColumn<int>("gaps");
        const auto addRow = [](const char* name, bool isRealTime, double pause, int gaps) {
            QTest::newRow(name) << isRealTime << pause << gaps;
        };
        addRow("a late block", false, 0.15, 0);
        addRow("a source that stops and comes back", false, 3, 1);
        addRow("a late block in real time", true, 0.04, 0);
        addRow("a later one in real time", true, 0.15, 1);
    }

    void keepsAStoreOfALiveSource()
    {
        QFETCH(bool, isRealTime);
        QFETCH(double, pause);
        QFETCH(int, gaps);
        Flow flow(isRealTime, 20);
        flow.run(5, 0);
        const std::size_t before = flow.silent;
        QVERIFY2(before <= Flow::kRate * 3 / 10, qPrintable(QString::number(before))); // the store
        flow.run(pause, 0, false);
        flow.run(5, 0);
        QCOMPARE(flow.feed.gaps(), std::uint64_t(gaps));
        QCOMPARE(flow.silent > before, gaps > 0);
    }

    void takesUpDrift_data()
    {
        QTest::addColumn<bool>("isRealTime");
        QTest::addColumn<double>("clock");
        const auto addRow = [](const char* name, bool isRealTime, double clock) {
            QTest::newRow(name) << isRealTime << clock;
        };
        addRow("fast clock", false, 300);
        addRow("slow clock", false, -300);
        addRow("very slow clock in real time", true, -1000);
        addRow("very fast clock in real time", true, 1000);
    }

    /// Half an hour, in which the difference of the clocks adds up to more than twice the store.
    void takesUpDrift()
    {
        QFETCH(bool, isRealTime);
        QFETCH(double, clock);
        Flow flow(isRealTime, 20);
        flow.run(60, clock);
        const std::size_t begun = flow.silent;
        flow.run(1800, clock);
        QCOMPARE(flow.silent, begun);
        QCOMPARE(flow.feed.gaps(), std::uint64_t(0));
        QCOMPARE(flow.feed.dropped(), std::uint64_t(0));
        QVERIFY2(std::abs(flow.feed.speed() + clock) < 100, qPrintable(QString::number(flow.feed.speed())));
    }

    /// Half a second that the host did not fetch is neither lost nor kept for ever.
    void catchesUpAfterALateHost()
    {
        Flow flow(false, 20);
        flow.run(10, 0);
        const std::size_t begun = flow.silent;
        flow.give(1.5);
        flow.run(1, 0);
        QVERIFY2(flow.feed.speed() < -500, qPrintable(QString::number(flow.feed.speed())));
        flow.run(600, 0);
        QVERIFY2(std::abs(flow.feed.speed()) < 20, qPrintable(QString::number(flow.feed.speed())));
        QCOMPARE(flow.silent, begun);
        QCOMPARE(flow.feed.dropped(), std::uint64_t(0));
    }
};

PLUGBOARD_SUITE(MicrophoneTest)
#include "microphone_test.moc"
