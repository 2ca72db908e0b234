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

/// Holds the transfers of one isochronous endpoint and hands each out once the time of its last packet has passed.
/// Packets follow one another without gaps while transfers are queued; after a pause the schedule begins anew. Lives on
/// the event loop's thread; hands out to a resolution of 1 ms, and makes up for what came late.
class IsochronousPacer
{
public:
    /// Monotonic.
    using Clock = std::function<std::chrono::nanoseconds()>;
    /// Completes the transfer.
    using Due = std::function<void(const TransferPointer&)>;

    IsochronousPacer(std::chrono::nanoseconds packetInterval, Due due, Clock clock = steadyClock());

    void submit(const TransferPointer& transfer);

    /// Lets go of a transfer that the host took back; those behind it keep their times.
    void cancelled(const Transfer& transfer);

    std::size_t queued() const { return m_queue.size(); }

    static Clock steadyClock();

private:
    struct Queued
    {
        TransferPointer transfer;
        std::chrono::nanoseconds end; // of its last packet
    };

    void handOut();
    void arm();

    std::chrono::nanoseconds m_interval;
    Due m_due;
    Clock m_clock;
    std::deque<Queued> m_queue;
    std::chrono::nanoseconds m_next{}; // end of the last packet that has a time
    QTimer m_timer;
};

} // namespace usb
