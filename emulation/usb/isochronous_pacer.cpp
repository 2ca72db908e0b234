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

IsochronousPacer::IsochronousPacer(std::chrono::nanoseconds packetInterval, Due due, Clock clock)
    : m_interval(packetInterval)
    , m_due(std::move(due))
    , m_clock(std::move(clock))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { handOut(); });
}

void IsochronousPacer::submit(const TransferPointer& transfer)
{
    m_next = std::max(m_next, m_clock());
    m_next += m_interval * static_cast<std::int64_t>(transfer->request().packets.size());
    m_queue.push_back({transfer, m_next});
    if (!m_timer.isActive())
        arm();
}

void IsochronousPacer::cancelled(const Transfer& transfer)
{
    m_queue.erase(std::remove_if(m_queue.begin(), m_queue.end(),
                                 [&](const Queued& queued) { return queued.transfer.get() == &transfer; }),
                  m_queue.end());
}

void IsochronousPacer::handOut()
{
    const std::chrono::nanoseconds now = m_clock();
    while (!m_queue.empty() && m_queue.front().end <= now) {
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
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(m_queue.front().end - m_clock());
    m_timer.start(std::max(wait, 0ms));
}

} // namespace usb
