#include "emulation/link/bus_id_search.h"

#include <utility>

BusIdSearch::BusIdSearch(Events events, std::chrono::milliseconds firstPause)
    : m_events(std::move(events))
    , m_firstPause(firstPause)
{
    m_pause.setSingleShot(true);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this] { look(); });
}

void BusIdSearch::start()
{
    m_looks = 0;
    look();
}

void BusIdSearch::look()
{
    m_pause.stop();
    const QString busId = m_events.look();
    if (!busId.isEmpty())
        return m_events.found(busId);
    if (++m_looks == kMostLooks)
        return m_events.gaveUp();
    m_pause.start(m_firstPause * (1 << (m_looks - 1)));
}
