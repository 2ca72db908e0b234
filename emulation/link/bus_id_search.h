// bus_id_search.h: finds out where in the host's tree a device is, which the host tells only if it is asked.
#pragma once

#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

/// Looks, and looks again after a pause that doubles each time, for a bounded number of looks: a device that the host
/// never gives an address costs nothing for the rest of its life. Lives on the event loop's thread.
class BusIdSearch
{
public:
    struct Events
    {
        /// Returns the bus id, empty while there is none.
        std::function<QString()> look;
        std::function<void(const QString& busId)> found;
        std::function<void()> gaveUp;
    };

    static constexpr int kMostLooks = 9; ///< the last one 51 s after the first, with the usual pause

    explicit BusIdSearch(Events events, std::chrono::milliseconds firstPause = std::chrono::milliseconds(200));

    /// Looks now, and begins anew with the pauses.
    void start();
    void stop() { m_pause.stop(); }

private:
    void look();

    Events m_events;
    std::chrono::milliseconds m_firstPause;
    QTimer m_pause;
    int m_looks = 0; // since the start
};
