// isochronous_pacer.h: when isochronous transfers complete, since no bus says it.
#pragma once

#include "emulation/usb/descriptors.h"
#include "emulation/usb/transfer.h"

#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>

namespace usb {

/// Time between two packets of an endpoint: a power of two of frames (1 ms), or of microframes (125 us) from high speed
/// up. `bInterval` is 1 to 16.
std::chrono::nanoseconds isochronousInterval(Speed speed, std::uint8_t bInterval);

/// How late a device may be and still make up for it. Devices that play one film agree on it, so that what holds up all
/// of them does not part them.
constexpr std::chrono::seconds kMostMadeUp{5};

/// Holds the transfers of one isochronous endpoint and hands each out once the time of its last packet has passed.
/// Packets follow one another without gaps from the first transfer on. A host that comes late finds the schedule where
/// it would be without that, and gets what it missed at twice the speed, so that its rate stays exact; one that comes
/// later than `mostMadeUp`, or took all of its transfers back before, finds one that begins anew. Lives on the event
/// loop's thread; hands out to a resolution of 1 ms.
class IsochronousPacer
{
public:
    /// Monotonic.
    using Clock = std::function<std::chrono::nanoseconds()>;
    /// Completes the transfer.
    using Due = std::function<void(const TransferPointer&)>;

    IsochronousPacer(std::chrono::nanoseconds packetInterval, Due due, Clock clock = steadyClock(),
                     std::chrono::nanoseconds mostMadeUp = kMostMadeUp);

    void submit(const TransferPointer& transfer);

    /// Lets go of a transfer that the host took back; those behind it keep their times.
    void cancelled(const Transfer& transfer);

    /// Hands out what is due; a timer calls it, too.
    void handOut();

    /// The stream has ended; another one has a schedule of its own.
    void restart() { m_isRunning = false; }

    std::size_t queued() const { return m_queue.size(); }

    static Clock steadyClock();

private:
    struct Queued
    {
        TransferPointer transfer;
        std::chrono::nanoseconds due;
    };

    void arm();

    std::chrono::nanoseconds m_interval;
    Due m_due;
    Clock m_clock;
    std::chrono::nanoseconds m_mostMadeUp;
    std::deque<Queued> m_queue;
    bool m_isRunning = false;
    std::chrono::nanoseconds m_next{};    // end of the last packet that has a time
    std::chrono::nanoseconds m_fastest{}; // end of the same packet at twice the speed since the host was late
    QTimer m_timer;
};

} // namespace usb
