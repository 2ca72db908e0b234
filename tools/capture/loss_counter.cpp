#include "tools/capture/loss_counter.h"

#include <algorithm>

void LossCounter::addStats(const CaptureStats& stats)
{
    const qint64 ahead = qint64(stats.total_packets) - qint64(m_arrived);
    if (!m_hasOffset) {
        m_hasOffset = true;
        m_offset = ahead;
    }
    m_offset = std::min(m_offset, ahead);
    m_dropped = quint64(ahead - m_offset);
}

void LossCounter::restart()
{
    m_droppedBefore += m_dropped;
    m_dropped = 0;
    m_arrived = 0;
    m_hasOffset = false;
}
