#include "tools/media/picture_feed.h"

#include "media/picture.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTakeLimit(20);
constexpr std::chrono::milliseconds kPausePoll(10);
constexpr std::chrono::milliseconds kConversionReserve(2); // What a conversion may take longer than the one before it.
constexpr std::chrono::milliseconds kMostLag(500);         // Further behind, the clock starts anew.

} // namespace

PictureFeed::PictureFeed(SourcePlayer& player, QObject* parent) : QObject(parent), m_player(player)
{}

PictureFeed::~PictureFeed()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

void PictureFeed::start()
{
    m_thread = std::thread([this] { run(); });
}

void PictureFeed::pause(bool paused)
{
    m_steps = 0;
    m_paused = paused;
}

void PictureFeed::step()
{
    ++m_steps;
}

QImage PictureFeed::picture() const
{
    const std::lock_guard guard(m_lock);
    return m_picture;
}

void PictureFeed::run()
{
    while (!m_stop) {
        if (m_paused && m_steps <= 0) {
            m_isRunning = false;
            std::this_thread::sleep_for(kPausePoll);
            continue;
        }
        int steps = m_steps;
        if (showNext() && steps > 0)
            m_steps.compare_exchange_strong(steps, steps - 1); // Unless a pause has begun anew.
    }
}

/// False when the feed was stopped first.
bool PictureFeed::waitUntil(PictureClock::Time time) const
{
    for (auto now = Clock::now(); now < time && !m_stop; now = Clock::now())
        std::this_thread::sleep_for(std::min<Clock::duration>(time - now, kTakeLimit));
    return !m_stop;
}

/// A picture is taken as late as its conversion allows, so that commands act on the one that is shown next.
bool PictureFeed::showNext()
{
    if (m_isRunning && !waitUntil(m_clock.due() - m_conversion - kConversionReserve))
        return false;
    std::optional<MediaItem> item = m_player.take(kTakeLimit);
    if (!item)
        return false;
    const auto begin = Clock::now();
    QImage image = convert(*item);
    const std::uint64_t number = item->number;
    m_player.recycle(std::move(*item));
    const auto end = Clock::now();
    m_conversion = end - begin;
    if (image.isNull())
        return false;
    const AVRational rate = m_player.pictureRate();
    const bool hasLag = m_isRunning && end > m_clock.due() + kMostLag;
    const bool hasRate = rate.num > 0 && av_cmp_q(rate, m_clock.rate()) != 0;
    if (!m_isRunning || hasLag || hasRate)
        m_clock.restart(end, rate.num > 0 ? rate : m_clock.rate());
    m_isRunning = true;
    if (!waitUntil(m_clock.due()))
        return false;
    if (Clock::now() > m_clock.due() + m_clock.period() / 2)
        ++m_late;
    m_clock.advance();
    publish(std::move(image), number);
    return true;
}

QImage PictureFeed::convert(const MediaItem& item)
{
    if (item.kind != MediaItem::kFrame || item.width <= 0)
        return {};
    const auto format = static_cast<AVPixelFormat>(item.format);
    QImage image(item.width, item.height, QImage::Format_RGB32);
    if (!m_scaler || m_size != image.size() || m_format != item.format) {
        m_size = image.size();
        m_format = item.format;
        m_scaler = makeScaler(item.width, item.height, item.format, item.width, item.height, AV_PIX_FMT_BGRA);
    }
    std::uint8_t* planes[4] = {};
    int lineSizes[4] = {};
    if (!m_scaler || av_image_fill_arrays(planes, lineSizes, item.bytes.data(), format, item.width, item.height, 1) < 0)
        return {};
    std::uint8_t* target[4] = {image.bits()};
    const int targetLineSizes[4] = {static_cast<int>(image.bytesPerLine())};
    sws_scale(m_scaler.get(), planes, lineSizes, 0, item.height, target, targetLineSizes);
    return image;
}

void PictureFeed::publish(QImage image, std::uint64_t number)
{
    m_number = static_cast<std::int64_t>(number);
    {
        const std::lock_guard guard(m_lock);
        m_picture = std::move(image);
    }
    ++m_shown;
    if (m_announced.exchange(true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_announced = false;
            emit pictureChanged();
        },
        Qt::QueuedConnection);
}
