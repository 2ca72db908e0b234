#include "tools/capture/packet_search.h"

#include "capture/decode/packet_meaning.h"

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
                         Direction direction, PacketFilter sought, PacketFilter::Wants isShown)
{
    m_seen = std::make_unique<SeenDevices>(store, first);
    m_reader = std::make_unique<PacketReader>(std::move(store));
    m_sought = std::move(sought);
    m_isShown = std::move(isShown);
    m_first = first;
    m_end = end;
    m_place = from;
    m_left = end - first;
    m_direction = direction;
    m_slices.start(0);
}

bool PacketSearch::fits(const PacketView& packet)
{
    const auto means = [&] { return meaningText(packet, *m_seen).contains(m_sought.text, Qt::CaseInsensitive); };
    return m_isShown(packet) && (m_sought.wants(packet) || (!m_sought.text.isEmpty() && means()));
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
            if (fits(m_reader->read(m_place))) {
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
