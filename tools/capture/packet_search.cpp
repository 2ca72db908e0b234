#include "tools/capture/packet_search.h"

#include <QDeadlineTimer>

namespace {

constexpr int kSliceTime = 8; // ms
constexpr int kBatch = 256;   // packets between two looks at the clock

} // namespace

PacketSearch::PacketSearch()
{
    connect(&m_slices, &QTimer::timeout, this, &PacketSearch::workSlice);
}

void PacketSearch::start(std::shared_ptr<const PacketStore> store, std::size_t first, std::size_t end, std::size_t from,
                         Direction direction, PacketFilter::Wants wants)
{
    m_reader = std::make_unique<PacketReader>(std::move(store));
    m_wants = std::move(wants);
    m_first = first;
    m_end = end;
    m_place = from;
    m_left = end - first;
    m_direction = direction;
    m_slices.start(0);
}

void PacketSearch::workSlice()
{
    const QDeadlineTimer end(kSliceTime, Qt::PreciseTimer);
    while (m_left > 0 && !end.hasExpired()) {
        for (int i = 0; i < kBatch && m_left > 0; ++i, --m_left) {
            if (m_direction == Direction::Next)
                m_place = m_place + 1 < m_end ? m_place + 1 : m_first;
            else
                m_place = m_place > m_first ? m_place - 1 : m_end - 1;
            if (m_wants(m_reader->read(m_place))) {
                m_slices.stop();
                emit found(m_place);
                return;
            }
        }
    }
    if (m_left == 0) {
        m_slices.stop();
        emit foundNothing();
    }
}
