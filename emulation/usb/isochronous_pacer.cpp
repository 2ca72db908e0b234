#include "emulation/usb/isochronous_pacer.h"

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

namespace usb {

std::chrono::nanoseconds isochronousInterval(Speed speed, std::uint8_t bInterval)
{
    const std::chrono::nanoseconds frame = speed == Speed::Full ? 1000us : 125us;
    return frame * (1 << (std::clamp<int>(bInterval, 1, 16) - 1));
}

IsochronousPacer::Clock IsochronousPacer::steadyClock()
{
    return [] { return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()); };
}

IsochronousPacer::IsochronousPacer(std::chrono::nanoseconds packetInterval, Due due, Clock clock,
                                   std::chrono::nanoseconds mostMadeUp)
    : m_interval(packetInterval)
    , m_due(std::move(due))
    , m_clock(std::move(clock))
    , m_mostMadeUp(mostMadeUp)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { handOut(); });
}

void IsochronousPacer::submit(const TransferPointer& transfer)
{
    const std::chrono::nanoseconds now = m_clock();
    if (!m_isRunning)
        m_next = m_fastest = now;
    else if (now - m_next > m_mostMadeUp)
        m_next = now;
    m_isRunning = true;
    const auto duration = m_interval * static_cast<std::int64_t>(transfer->request().packets.size());
    m_next += duration;
    m_fastest = std::max(m_fastest, now) + duration / 2;
    m_queue.push_back({transfer, std::max(m_next, m_fastest)});
    if (!m_timer.isActive() || m_queue.front().due <= now)
        arm();
}

void IsochronousPacer::cancelled(const Transfer& transfer)
{
    const auto end = std::remove_if(m_queue.begin(), m_queue.end(),
                                    [&](const Queued& queued) { return queued.transfer.get() == &transfer; });
    if (end == m_queue.end())
        return;
    m_queue.erase(end, m_queue.end());
    if (m_queue.empty()) // the host pauses; it is not late
        m_isRunning = false;
}

void IsochronousPacer::handOut()
{
    const std::chrono::nanoseconds now = m_clock();
    while (!m_queue.empty() && m_queue.front().due <= now) {
        const TransferPointer transfer = std::move(m_queue.front().transfer);
        m_queue.pop_front();
        m_due(transfer);
    }
    arm();
}

void IsochronousPacer::arm()
{
    if (m_queue.empty())
        return m_timer.stop();
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(m_queue.front().due - m_clock());
    m_timer.start(std::max(wait, 0ms));
}

} // namespace usb
