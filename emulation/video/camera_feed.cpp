#include "emulation/video/camera_feed.h"

#include "emulation/usb/isochronous_pacer.h"
#include "emulation/video/no_signal.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace uvc {

namespace {

constexpr auto kPoll = 3ms;        // how often a source that is late is asked
constexpr auto kPatience = 1000ms; // without a picture, before another one stands in
constexpr auto kHeldUp = 200ms;    // between two turns: something held up the feed
constexpr std::int64_t kMostWaitingBytes = 32 * 1024 * 1024;
constexpr std::size_t kMostGroupBytes = 16 * 1024 * 1024;

} // namespace

CameraFeed::CameraFeed(const CameraSetup& setup, const ProcessingUnit& processing, Ready ready, Clock clock)
    : m_setup(setup)
    , m_processing(processing)
    , m_ready(std::move(ready))
    , m_now(std::move(clock))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        const std::chrono::milliseconds wait = turn();
        if (m_isRunning) // taking a picture may have stopped it
            m_timer.start(wait);
    });
    m_threads.setMaxThreadCount(1);
}

CameraFeed::~CameraFeed()
{
    m_threads.waitForDone();
}

void CameraFeed::start()
{
    m_isRunning = true;
    m_needsKey = true;
    m_waiting.clear();
    m_lastFresh = m_lastTurn = m_now();
    forgetSchedule();
    m_timer.start(0);
}

void CameraFeed::stop()
{
    m_isRunning = false;
    m_timer.stop();
    m_waiting.clear();
}

void CameraFeed::setPlayer(SourcePlayer* player, bool isLive)
{
    m_player = player;
    m_isLive = isLive;
    m_needsKey = true;
    m_lastFresh = m_now();
    forgetSchedule();
}

void CameraFeed::setPaused(bool isPaused)
{
    m_isPaused = isPaused;
    m_lastFresh = m_now();
    forgetSchedule();
}

void CameraFeed::forgetSchedule()
{
    m_clock.restart(m_now(), {m_setup.rate, 1});
    m_isWaitingForFirst = true;
    m_ticks = 0;
    m_taken = 0;
}

std::chrono::milliseconds CameraFeed::turn()
{
    const PictureClock::Time now = beginTurn();
    bool came = true;
    bool hurries = false;
    while (came && !hurries && m_isRunning && m_clock.due() <= now) {
        hurries = now - m_clock.due() > longestWait(); // more at once would be lost again
        came = produce(now);
        if (came)
            m_clock.advance();
        if (!m_waiting.empty())
            m_ready();
    }
    if (!came)
        return kPoll;
    const auto wait = hurries ? m_clock.period() / 2 : m_clock.due() - m_now();
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(wait), 0ms);
}

/// What the feed itself was late by is no fault of the source.
PictureClock::Time CameraFeed::beginTurn()
{
    const PictureClock::Time now = m_now();
    const auto pause = now - std::exchange(m_lastTurn, now);
    if (pause > std::max<std::chrono::nanoseconds>(kHeldUp, 2 * m_clock.period()))
        m_lastFresh = std::min(now, m_lastFresh + pause);
    const auto most = m_isLive ? longestWait() : std::max<std::chrono::nanoseconds>(usb::kMostMadeUp, longestWait());
    if (now - m_clock.due() > most)
        forgetSchedule();
    return now;
}

/// Whether the picture that is due is dealt with.
bool CameraFeed::produce(PictureClock::Time now)
{
    if (m_isPaused) {
        m_lastFresh = now;
        beginAnewIfLate(now);
        if (!m_setup.isInterCoded() && !m_last.empty())
            offer(m_last.back());
        return true;
    }
    if (const PicturePointer picture = nextFresh()) {
        m_lastFresh = now;
        if (m_isWaitingForFirst) // nobody wants the time that it took made up for
            m_clock.restart(now, m_clock.rate());
        m_isWaitingForFirst = false;
        m_showsStandIn = false;
        m_standIn.reset();
        offer(picture);
        return true;
    }
    if (now - m_lastFresh < std::max<std::chrono::nanoseconds>(kPatience, 3 * m_clock.period()))
        return false;
    beginAnewIfLate(now);
    standIn();
    return true;
}

/// Nothing is missed of a picture that is shown again and again.
void CameraFeed::beginAnewIfLate(PictureClock::Time now)
{
    if (now - m_clock.due() > m_clock.period())
        m_clock.restart(now, m_clock.rate());
}

PicturePointer CameraFeed::nextFresh()
{
    if (!m_player)
        return nullptr;
    if (m_isLive)
        return takeNewest();
    return m_setup.isRaw() ? takeAtSourceRate() : takeOne();
}

/// Raw pictures come at the source's rate, and are left out or repeated so that they keep their speed.
PicturePointer CameraFeed::takeAtSourceRate()
{
    const AVRational rate = m_player->pictureRate();
    if (rate.num <= 0)
        return nullptr;
    const std::int64_t parts = std::int64_t(rate.den) * m_setup.rate;
    const std::int64_t needed = (m_ticks * rate.num + parts / 2) / parts + 1; // to the nearest
    while (m_taken < needed || m_last.empty()) {
        if (!takeOne())
            return nullptr;
        ++m_taken;
    }
    ++m_ticks;
    return m_last.back();
}

/// Inter-coded pictures are all wanted, so those before the newest are offered right away.
PicturePointer CameraFeed::takeNewest()
{
    PicturePointer newest;
    while (PicturePointer next = takeOne()) {
        if (newest && m_setup.isInterCoded())
            offer(newest);
        newest = std::move(next);
    }
    return newest;
}

PicturePointer CameraFeed::takeOne()
{
    while (std::optional<MediaItem> item = m_player->take()) {
        if (joins(*item))
            return keep(std::move(*item));
        m_player->recycle(std::move(*item));
    }
    return nullptr;
}

bool CameraFeed::joins(const MediaItem& item)
{
    const bool fits = m_setup.isRaw() ? item.bytes.size() == m_setup.largestPicture()
                                      : !item.bytes.empty() && item.bytes.size() <= m_setup.largestPicture();
    if (!fits) {
        ++m_counts.dropped;
        m_needsKey = true;
        return false;
    }
    if (!m_setup.isInterCoded())
        return true;
    m_needsKey = m_needsKey && !item.isKeyPacket;
    return !m_needsKey;
}

PicturePointer CameraFeed::keep(MediaItem&& item)
{
    const bool isFirst = !m_setup.isInterCoded() || item.isKeyPacket;
    if (m_setup.isRaw())
        m_processing.apply(item.bytes, m_setup.width, m_setup.height);
    auto picture = std::make_shared<std::vector<std::uint8_t>>(std::move(item.bytes));
    if (isFirst) {
        if (m_last.size() == 1 && m_last.front().use_count() == 1) { // nobody shows it any more
            item.bytes = std::move(*m_last.front());
            m_player->recycle(std::move(item));
        }
        m_last.clear();
        m_lastBytes = 0;
    }
    m_lastBytes += picture->size();
    if (isFirst || (!m_last.empty() && m_lastBytes <= kMostGroupBytes))
        m_last.push_back(picture);
    else
        m_last.clear(); // too much to keep; a key picture comes
    ++m_generation;
    return picture;
}

/// Pictures that may wait for the host: a second of those that need each other, else half a second, of what a live
/// source gives a quarter.
std::int64_t CameraFeed::room() const
{
    const int part = m_setup.isInterCoded() ? 1 : m_isLive ? 4 : 2;
    const std::int64_t fitting = kMostWaitingBytes / std::max<std::int64_t>(m_setup.reckonedBytes, 1);
    return std::max<std::int64_t>(std::min<std::int64_t>(m_setup.rate / part, fitting), 4);
}

/// How late a picture may be that still finds room.
std::chrono::nanoseconds CameraFeed::longestWait() const
{
    return (room() - 1) * m_clock.period();
}

void CameraFeed::offer(const PicturePointer& picture)
{
    if (std::int64_t(m_waiting.size()) >= room()) {
        m_counts.dropped += std::int64_t(m_waiting.size());
        m_waiting.clear();
        const bool standsAlone = !m_setup.isInterCoded() || picture == m_standIn || isGroupsFirst(picture);
        m_needsKey = !standsAlone;
        if (m_needsKey) {
            ++m_counts.dropped;
            return;
        }
    }
    m_waiting.push_back(picture);
}

bool CameraFeed::isGroupsFirst(const PicturePointer& picture) const
{
    return m_last.size() == 1 && m_last.front() == picture;
}

PicturePointer CameraFeed::take()
{
    if (m_waiting.empty())
        return nullptr;
    PicturePointer picture = std::move(m_waiting.front());
    m_waiting.pop_front();
    return picture;
}

void CameraFeed::standIn()
{
    if (!m_standIn)
        return makeStandIn();
    m_showsStandIn = true;
    m_needsKey = true;
    m_ticks = 0;
    m_taken = 0;
    m_isWaitingForFirst = true;
    ++m_counts.standIns;
    offer(m_standIn);
}

/// Once for each time that the source is gone.
void CameraFeed::makeStandIn()
{
    if (m_isMaking || m_noneFor == m_generation)
        return;
    m_isMaking = true;
    m_threads.start([this, last = m_last, generation = m_generation] {
        const PicturePointer made = makeNoSignal(m_setup, last);
        const auto take = [this, made, generation] {
            m_isMaking = false;
            if (generation == m_generation)
                m_standIn = made;
            if (!made)
                m_noneFor = generation;
        };
        QMetaObject::invokeMethod(&m_receiver, take, Qt::QueuedConnection);
    });
}

} // namespace uvc
