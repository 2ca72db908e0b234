#include "media/video_file_source.h"

#include "media/av_decoder.h"
#include "media/av_encoder.h"
#include "media/media_reader.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kUsualRate = 30; // Pictures per second of a source that does not say.
constexpr std::chrono::seconds kStallTime(1);

/// Writes on each block of sound after which picture it came.
class SoundMark final : public AVSourceSink
{
public:
    SoundMark(const AVMediaSink& pictures, AVMediaSink& sound) : m_pictures(pictures) { chain(sound); }

    bool pushFrame(AVFrame* frame) override
    {
        frame->pts = static_cast<std::int64_t>(m_pictures.received());
        return AVSourceSink::pushFrame(frame);
    }

private:
    const AVMediaSink& m_pictures;
};

} // namespace

VideoFileSource::VideoFileSource(VideoFileSettings settings, QObject* parent)
    : QThread(parent)
    , AVMediaSink(settings.overflow, settings.queue)
    , m_settings(std::move(settings))
    , m_soundMark(m_settings.sound ? std::make_unique<SoundMark>(*this, *m_settings.sound) : nullptr)
    , m_interrupt(m_settings.inputTimeLimit)
{}

VideoFileSource::~VideoFileSource()
{
    requestStop();
    wait();
}

void VideoFileSource::requestStop()
{
    m_interrupt.stop();
    stopQueue();
}

void VideoFileSource::run()
{
    m_reader = std::make_unique<MediaReader>(m_settings.url, m_settings.selector, m_interrupt);
    const bool opened = m_reader->open();
    if (opened)
        buildChains();
    describe();
    if (m_settings.start.count() > 0)
        m_reader->requestSeek(m_settings.start);
    m_started.exchange(1);
    if (opened)
        play();
    end();
    if (m_completed)
        m_completed(std::string());
}

void VideoFileSource::play()
{
    const bool loops = m_settings.loop || !m_reader->canRewind();
    m_reader->readLoop(loops);
    if (loops || !m_reader->error().empty() || m_interrupt.isStopped())
        return;
    m_reader->flush();
    const std::lock_guard guard(m_descriptionLock);
    m_isComplete = true;
}

void VideoFileSource::buildChains()
{
    int width = m_settings.width;
    int height = m_settings.height;
    AVRational rate = {m_settings.frameRate, 1};
    if (const AVSource* video = m_reader->videoSource()) {
        width = width > 0 ? width : video->width();
        height = height > 0 ? height : video->height();
        if (rate.num <= 0)
            rate = video->pictureRate().num > 0 ? video->pictureRate() : AVRational{kUsualRate, 1};
        m_reader->setExactOutput(m_settings.exactOutput);
        m_reader->buildVideoChain(m_settings.codec, m_settings.pixelFormat, width, height,
                                  static_cast<int>(av_rescale(1, rate.num, rate.den)), *this, m_settings.scaling);
    }
    if (m_settings.queueTime.count() > 0 && rate.num > 0) {
        const auto pictures = av_rescale_rnd(m_settings.queueTime.count(), rate.num, 1000 * rate.den, AV_ROUND_DOWN);
        setCapacity(std::clamp<std::size_t>(static_cast<std::size_t>(pictures), 1, m_settings.queue.items));
    }
    m_isLive = m_reader->isLive();
    m_reader->setSoundOptional(m_soundMark != nullptr);
    AVSourceSink& soundEnd = m_soundMark ? *m_soundMark : *this;
    m_reader->buildAudioChain(m_settings.audioChannels, m_settings.audioRate, soundEnd, m_settings.soundSpeed);
    const std::lock_guard guard(m_descriptionLock);
    m_pictureRate = rate;
    if (!m_reader->videoSource() && !m_reader->audioSource())
        m_useless = m_settings.selector == kSelectAudio ? "it has no sound" : "it has no video";
}

void VideoFileSource::end()
{
    describe();
    const std::lock_guard guard(m_descriptionLock);
    m_hasEnded = true;
    m_endReason = m_reader->error().empty() ? "it has ended" : m_reader->error();
}

SourceStatus VideoFileSource::status() const
{
    const std::lock_guard guard(m_descriptionLock);
    if (m_isComplete)
        return {SourceState::Ended, {}};
    if (m_hasEnded)
        return {SourceState::Lost, m_endReason};
    if (!m_useless.empty())
        return {SourceState::Lost, m_useless};
    if (m_started.load() == 0 || received() == 0)
        return {SourceState::Connecting, {}};
    const std::chrono::milliseconds waited = m_interrupt.waited();
    if (waited < kStallTime)
        return {SourceState::Playing, {}};
    return {SourceState::Stalled, "nothing has come for " + std::to_string(waited.count() / 1000) + " s"};
}

AVRational VideoFileSource::pictureRate() const
{
    const std::lock_guard guard(m_descriptionLock);
    return m_pictureRate;
}

void VideoFileSource::seek(std::chrono::milliseconds position)
{
    if (!isStarted())
        return;
    m_reader->requestSeek(position);
    dropWaiting();
}

std::chrono::milliseconds VideoFileSource::position() const
{
    return isStarted() ? m_reader->position() : std::chrono::milliseconds(0);
}

std::chrono::milliseconds VideoFileSource::duration() const
{
    return isStarted() ? m_reader->duration() : std::chrono::milliseconds(0);
}

/// What was read before a seek took place is not wanted any more.
bool VideoFileSource::isWanted() const
{
    return !(m_reader && m_reader->isSeeking());
}

void VideoFileSource::describe()
{
    std::string text;
    const auto add = [&text](const char* role, const std::string& name) {
        if (!name.empty())
            text += (text.empty() ? "" : ", ") + (role + name);
    };
    if (const AVDecoder* decoder = m_reader->videoDecoder())
        add("video decoder ", decoder->name() + (decoder->deviceName().empty() ? "" : " on " + decoder->deviceName()));
    if (const AVEncoder* encoder = m_reader->encoder())
        add("encoder ", encoder->name());
    if (const AVDecoder* decoder = m_reader->audioDecoder())
        add("audio decoder ", decoder->name());
    if (!m_reader->error().empty())
        add("", m_reader->error());
    const std::lock_guard guard(m_descriptionLock);
    m_description = text;
}

std::string VideoFileSource::description() const
{
    const std::lock_guard guard(m_descriptionLock);
    return m_description;
}
