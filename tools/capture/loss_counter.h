// loss_counter.h: how much of a device's traffic a capture lacks.
#pragma once

#include "capture/channel/usbip_header.h"

/// Fed with what a client reports, in the order in which it does.
class LossCounter
{
public:
    template<typename Packet>
    void addPacket(const Packet& packet)
    {
        ++m_arrived;
        m_cut += missingBytes(packet) > 0 ? 1 : 0;
    }
    /// Counters come in the stream of packets: what they count more than what arrived since the first ones was dropped.
    void addStats(const CaptureStats& stats);
    /// A new connection or a cleared capture begins to count anew; packets that were lost until then stay counted.
    void restart();
    /// For a list of packets that takes the place of the ones counted.
    void reset() { *this = {}; }

    quint64 cut() const { return m_cut; }
    quint64 dropped() const { return m_droppedBefore + m_dropped; }

private:
    quint64 m_cut = 0;
    quint64 m_droppedBefore = 0;
    quint64 m_dropped = 0;
    quint64 m_arrived = 0;
    bool m_hasOffset = false;
    qint64 m_offset = 0; // counted by the device process but not meant for this capture
};
