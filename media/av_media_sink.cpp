#include "media/av_media_sink.h"

#include "media/channel_layout.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace {

/// Planes of samples become one row of interleaved ones.
bool copySound(const AVFrame& frame, std::vector<std::uint8_t>& bytes)
{
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const auto sample = static_cast<std::size_t>(av_get_bytes_per_sample(format));
    const auto channels = static_cast<std::size_t>(ffmpeg::channelCount(frame));
    const auto count = static_cast<std::size_t>(frame.nb_samples);
    if (sample == 0)
        return false;
    bytes.resize(count * channels * sample);
    if (!av_sample_fmt_is_planar(format)) {
        if (!bytes.empty())
            std::memcpy(bytes.data(), frame.extended_data[0], bytes.size());
        return true;
    }
    std::uint8_t* to = bytes.data();
    for (std::size_t index = 0; index < count; ++index) {
        for (std::size_t channel = 0; channel < channels; ++channel, to += sample)
            std::memcpy(to, frame.extended_data[channel] + index * sample, sample);
    }
    return true;
}

bool copyPictureBytes(const AVFrame& frame, std::vector<std::uint8_t>& bytes)
{
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const int size = av_image_get_buffer_size(format, frame.width, frame.height, 1);
    if (size < 0)
        return false;
    bytes.resize(static_cast<std::size_t>(size));
    return av_image_copy_to_buffer(bytes.data(), size, frame.data, frame.linesize, format, frame.width, frame.height,
                                   1) >= 0;
}

} // namespace

AVMediaSink::AVMediaSink(Overflow overflow) : AVMediaSink(overflow, Bound())
{}

AVMediaSink::AVMediaSink(Overflow overflow, Bound bound)
    : m_overflow(overflow)
    , m_bound(bound)
    , m_items(std::max<std::size_t>(bound.items, 1))
{
    m_spare.reserve(m_items.size() + 1);
}

void AVMediaSink::setCapacity(std::size_t items)
{
    const std::lock_guard guard(m_lock);
    m_items.resize(std::max<std::size_t>(items, 1));
    m_spare.reserve(m_items.size() + 1);
}

bool AVMediaSink::isFull(std::size_t newBytes) const
{
    return m_size == m_items.size() || (m_size > 0 && newBytes > m_bound.bytes - std::min(m_bytes, m_bound.bytes));
}

MediaItem AVMediaSink::blankItem()
{
    const std::lock_guard guard(m_lock);
    if (m_spare.empty())
        return {};
    MediaItem item = std::move(m_spare.back());
    m_spare.pop_back();
    m_spareBytes -= item.bytes.capacity();
    return item;
}

bool AVMediaSink::pushFrame(AVFrame* frame)
{
    const bool isSound = frame->width == 0;
    if (isSound && frame->nb_samples == 0)
        return true;
    MediaItem item = blankItem();
    if (!isSound)
        recordInput(*frame);
    item.kind = MediaItem::kFrame;
    item.width = frame->width;
    item.height = frame->height;
    item.format = frame->format;
    item.timeStamp = frame->pts;
    item.isKeyPacket = false;
    const bool copied = isSound ? copySound(*frame, item.bytes) : copyPictureBytes(*frame, item.bytes);
    return !copied || append(std::move(item));
}

bool AVMediaSink::pushPacket(AVPacket* packet)
{
    MediaItem item = blankItem();
    item.kind = MediaItem::kPacket;
    item.width = m_inputWidth;
    item.height = m_inputHeight;
    item.format = -1;
    item.timeStamp = packet->pts;
    item.isKeyPacket = packet->flags & AV_PKT_FLAG_KEY;
    item.bytes.assign(packet->data, packet->data + packet->size);
    return append(std::move(item));
}

bool AVMediaSink::append(MediaItem&& item)
{
    const std::size_t bytes = item.bytes.size();
    const auto hasRoom = [this, bytes] { return m_stopped || !isFull(bytes); };
    std::unique_lock guard(m_lock);
    if (m_overflow != Overflow::DropOldest)
        m_changed.wait(guard, hasRoom);
    if (m_stopped)
        return refuse("it was stopped");
    if (!isWanted()) {
        keepSpare(std::move(item));
        return true;
    }
    while (isFull(bytes)) {
        keepSpare(removeOldest());
        ++m_dropped;
    }
    item.number = m_received++;
    m_items[(m_first + m_size++) % m_items.size()] = std::move(item);
    m_bytes += bytes;
    m_changed.notify_all();
    if (m_overflow == Overflow::StayClose)
        m_changed.wait(guard, hasRoom);
    return true;
}

MediaItem AVMediaSink::removeOldest()
{
    MediaItem item = std::move(m_items[m_first]);
    m_first = (m_first + 1) % m_items.size();
    --m_size;
    m_bytes -= item.bytes.size();
    return item;
}

std::optional<MediaItem> AVMediaSink::take(std::chrono::milliseconds limit)
{
    std::unique_lock guard(m_lock);
    m_changed.wait_for(guard, limit, [this] { return m_stopped || m_size > 0; });
    if (m_stopped || m_size == 0)
        return std::nullopt;
    std::optional<MediaItem> item(removeOldest());
    m_changed.notify_all();
    return item;
}

void AVMediaSink::recycle(MediaItem&& item)
{
    const std::lock_guard guard(m_lock);
    keepSpare(std::move(item));
}

void AVMediaSink::keepSpare(MediaItem&& item)
{
    const std::size_t bytes = item.bytes.capacity();
    if (m_spare.size() >= m_items.size() ||
        (m_spareBytes > 0 && bytes > m_bound.bytes - std::min(m_spareBytes, m_bound.bytes)))
        return;
    m_spareBytes += bytes;
    m_spare.push_back(std::move(item));
}

void AVMediaSink::dropWaiting()
{
    const std::lock_guard guard(m_lock);
    while (m_size > 0)
        keepSpare(removeOldest());
    m_changed.notify_all();
}

void AVMediaSink::stopQueue()
{
    const std::lock_guard guard(m_lock);
    m_stopped = true;
    m_changed.notify_all();
}

std::uint64_t AVMediaSink::dropped() const
{
    const std::lock_guard guard(m_lock);
    return m_dropped;
}

std::uint64_t AVMediaSink::received() const
{
    const std::lock_guard guard(m_lock);
    return m_received;
}
