#include "dialogs/source_check.h"

#include "media/log.h"
#include "ui/busy_cursor.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

namespace {

/// Cancels a probe that is not destroyed in time: the probe itself bounds each of its steps, not their sum.
class Watchdog
{
public:
    Watchdog(SourceProbe& probe, std::chrono::milliseconds limit)
        : m_thread([this, &probe, limit] {
            std::unique_lock lock(m_mutex);
            if (!m_ended.wait_for(lock, limit, [this] { return m_isOver; }))
                probe.cancel();
        })
    {}

    ~Watchdog()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isOver = true;
        }
        m_ended.notify_one();
        m_thread.join();
    }

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_isOver = false;
    std::thread m_thread; ///< last, since it uses the others
};

} // namespace

SourceCheck checkWithin(std::chrono::milliseconds limit)
{
    return [limit](const QString& source, SourceProbe::Kind kind) {
        SourceProbe probe(limit);
        const Watchdog watchdog(probe, limit);
        return probe.probe(source, kind);
    };
}

SourceProbeResult runCheck(const SourceCheck& check, const QString& source, SourceProbe::Kind kind)
{
    const BusyCursor busy;
    try {
        const SourceProbeResult result = check(source, kind);
        if (!result.opened)
            qCWarning(mediaLog) << "Source" << source << "does not open:" << result.error;
        return result;
    } catch (const std::exception& failure) {
        qCWarning(mediaLog) << "Source" << source << "cannot be checked:" << failure.what();
        return {};
    }
}
