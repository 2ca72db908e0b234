#include "media/channel_layout.h"
#include "tests/support/suite_registry.h"
#include "tools/media/sound_player.h"

#include <QtTest>

#include <mutex>

namespace {

/// Keeps the first byte of each block that is played.
class HeardSound final : public SoundOutput
{
public:
    explicit HeardSound(QByteArray& heard, std::mutex& lock) : m_heard(heard), m_lock(lock) {}
    bool write(const std::uint8_t* samples, std::size_t) override
    {
        const std::lock_guard guard(m_lock);
        m_heard.append(char(samples[0]));
        return true;
    }

private:
    QByteArray& m_heard;
    std::mutex& m_lock;
};

} // namespace

class SoundPlayerTest : public QObject
{
    Q_OBJECT

private slots:
    /// At 25 pictures a second: a quarter of a second is 6 pictures, and the device holds 2.
    void soundKeepsToItsPicture()
    {
        SoundPlayer player([this] { return progress(); }, std::make_unique<HeardSound>(m_heard, m_lock));
        AVMediaSink& sink = *player.queue();
        push(sink, 'a', 0);
        letItLook();
        QCOMPARE(heard(), QByteArray()); // there is no picture yet
        show(0);
        QTRY_COMPARE(heard(), QByteArray("a"));
        push(sink, 'b', 5); // it flows, and may come a little early
        QTRY_COMPARE(heard(), QByteArray("ab"));
        push(sink, 'c', 50);
        letItLook();
        QCOMPARE(heard(), QByteArray("ab")); // too early
        show(49, true);
        letItLook();
        QCOMPARE(heard(), QByteArray("ab")); // a pause
        show(49);
        QTRY_COMPARE(heard(), QByteArray("abc"));
        show(100);
        push(sink, 'd', 80);  // too late
        push(sink, 'e', 400); // of pictures that will not come
        push(sink, 'f', 101);
        QTRY_COMPARE(heard(), QByteArray("abcf"));
    }

    void mutedSoundTakesItsTime()
    {
        m_heard.clear();
        show(0);
        SoundPlayer player([this] { return progress(); }, std::make_unique<HeardSound>(m_heard, m_lock));
        player.mute(true);
        push(*player.queue(), 'a', 0);
        QTRY_COMPARE(heard(), QByteArray(1, '\0'));
        SoundPlayer deaf([this] { return progress(); }, nullptr); // a machine without sound
        for (int block = 0; block < 10; ++block)
            push(*deaf.queue(), 'a', 0);
        QVERIFY(deaf.queue()->dropped() >= 9);
    }

private:
    /// A block whose bytes are `name`, which came after that many pictures.
    static void push(AVMediaSink& sink, char name, std::int64_t picture);
    QByteArray heard();
    PictureProgress progress();
    void show(std::int64_t number, bool paused = false);
    /// Until the player has asked for the pictures' progress a few times more.
    void letItLook()
    {
        const auto looks = [this] {
            const std::lock_guard guard(m_lock);
            return m_looks;
        };
        const int before = looks();
        QTRY_VERIFY(looks() >= before + 3);
    }

    std::mutex m_lock;
    QByteArray m_heard;
    PictureProgress m_pictures{-1, 25, false};
    int m_looks = 0;
};

void SoundPlayerTest::push(AVMediaSink& sink, char name, std::int64_t picture)
{
    const ffmpeg::Frame frame(av_frame_alloc());
    frame->format = AV_SAMPLE_FMT_S16;
    frame->sample_rate = SoundPlayer::kRate;
    frame->nb_samples = 480;
    frame->pts = picture;
    ffmpeg::setChannels(*frame, 2, 3);
    QVERIFY(av_frame_get_buffer(frame.get(), 0) >= 0);
    memset(frame->data[0], name, 480 * 4);
    QVERIFY(sink.pushFrame(frame.get()));
}

QByteArray SoundPlayerTest::heard()
{
    const std::lock_guard guard(m_lock);
    return m_heard;
}

PictureProgress SoundPlayerTest::progress()
{
    const std::lock_guard guard(m_lock);
    ++m_looks;
    return m_pictures;
}

void SoundPlayerTest::show(std::int64_t number, bool paused)
{
    const std::lock_guard guard(m_lock);
    m_pictures.number = number;
    m_pictures.isPaused = paused;
}

PLUGBOARD_SUITE(SoundPlayerTest)
#include "sound_player_test.moc"
