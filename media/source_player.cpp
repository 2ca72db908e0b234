#include "media/source_player.h"

#include "media/log.h"

#include <QTimer>

#include <algorithm>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kRunPoll(20); // A take() that waits looks this often for a new run.

VideoFileSettings withPlacement(VideoFileSettings settings)
{
    if (!settings.scaling.placement)
        settings.scaling.placement = std::make_shared<PlacementState>(kScaleAspectFit);
    return settings;
}

} // namespace

SourcePlayer::SourcePlayer(VideoFileSettings settings, QObject* parent)
    : SourcePlayer(std::move(settings), Pauses(), parent)
{}

SourcePlayer::SourcePlayer(VideoFileSettings settings, Pauses pauses, QObject* parent)
    : QObject(parent)
    , m_settings(withPlacement(std::move(settings)))
    , m_pauses(pauses)
    , m_pause(pauses.first)
{}

SourcePlayer::~SourcePlayer()
{
    stop();
}

void SourcePlayer::start()
{
    startRun(m_settings);
}

void SourcePlayer::stop()
{
    std::shared_ptr<VideoFileSource> ending;
    {
        const std::lock_guard guard(m_lock);
        m_stopped = true;
        ending = m_source;
    }
    if (!ending)
        return;
    ending->disconnect(this);
    ending->requestStop();
    ending->wait();
}

void SourcePlayer::startRun(const VideoFileSettings& settings)
{
    const auto source = std::make_shared<VideoFileSource>(settings);
    connect(source.get(), &QThread::finished, this, &SourcePlayer::endRun, Qt::QueuedConnection);
    {
        const std::lock_guard guard(m_lock);
        if (m_stopped)
            return;
        if (m_source)
            m_droppedBefore += m_source->dropped();
        m_source = source;
        ++m_runs;
    }
    source->start();
}

void SourcePlayer::endRun()
{
    std::shared_ptr<VideoFileSource> ended;
    std::string reason;
    {
        const std::lock_guard guard(m_lock);
        // What has played to its end stays, since its last items wait to be taken.
        if (m_stopped || !m_source || m_source->status().state == SourceState::Ended)
            return;
        ended = std::exchange(m_source, nullptr);
        reason = m_lastReason = ended->status().reason;
        m_droppedBefore += ended->dropped();
    }
    m_pause = ended->received() > 0 ? m_pauses.first : std::min(m_pause * 2, m_pauses.longest);
    qCInfo(mediaLog) << "The source is lost (" << reason.c_str() << "); next try in" << m_pause.count() << "ms";
    QTimer::singleShot(m_pause, this, [this] { startRun(m_settings); });
    emit lost(QString::fromStdString(reason));
}

std::shared_ptr<VideoFileSource> SourcePlayer::current() const
{
    const std::lock_guard guard(m_lock);
    return m_source;
}

bool SourcePlayer::isStopped() const
{
    const std::lock_guard guard(m_lock);
    return m_stopped;
}

std::optional<MediaItem> SourcePlayer::take(std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        const auto part = std::clamp(rest, std::chrono::milliseconds(0), kRunPoll);
        const auto source = current();
        if (std::optional<MediaItem> item = source ? source->take(part) : std::nullopt)
            return item;
        if (rest <= part || isStopped())
            return std::nullopt;
        if (!source)
            std::this_thread::sleep_for(part);
    }
}

void SourcePlayer::recycle(MediaItem&& item)
{
    if (const auto source = current())
        source->recycle(std::move(item));
}

SourceStatus SourcePlayer::status() const
{
    const std::lock_guard guard(m_lock);
    if (!m_source)
        return {m_runs == 0 ? SourceState::Connecting : SourceState::Lost, m_lastReason};
    SourceStatus status = m_source->status();
    if (status.state == SourceState::Connecting && status.reason.empty())
        status.reason = m_lastReason;
    return status;
}

std::string SourcePlayer::description() const
{
    const auto source = current();
    return source ? source->description() : std::string();
}

AVRational SourcePlayer::pictureRate() const
{
    const auto source = current();
    return source ? source->pictureRate() : AVRational{0, 1};
}

bool SourcePlayer::isLive() const
{
    const auto source = current();
    return source && source->isLive();
}

void SourcePlayer::seek(std::chrono::milliseconds position)
{
    const auto source = current();
    if (source && source->status().state == SourceState::Ended) {
        VideoFileSettings settings = m_settings;
        settings.start = position;
        startRun(settings);
    } else if (source) {
        source->seek(position);
    }
}

std::chrono::milliseconds SourcePlayer::position() const
{
    const auto source = current();
    return source ? source->position() : std::chrono::milliseconds(0);
}

std::chrono::milliseconds SourcePlayer::duration() const
{
    const auto source = current();
    return source ? source->duration() : std::chrono::milliseconds(0);
}

int SourcePlayer::runs() const
{
    const std::lock_guard guard(m_lock);
    return m_runs;
}

std::uint64_t SourcePlayer::dropped() const
{
    const std::lock_guard guard(m_lock);
    return m_droppedBefore + (m_source ? m_source->dropped() : 0);
}
