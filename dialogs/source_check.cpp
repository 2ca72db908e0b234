#include "dialogs/source_check.h"

#include "media/log.h"
#include "ui/busy_cursor.h"

#include <exception>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace {

/// A probe and its outcome; they live as long as the dialog waits or the probe's thread runs, whichever is longer.
struct RunningProbe
{
    explicit RunningProbe(std::chrono::milliseconds limit) : probe(limit) {}

    SourceProbe probe;
    std::promise<SourceProbeResult> outcome;
};

} // namespace

SourceCheck checkWithin(std::chrono::milliseconds limit, ProbeCall call)
{
    return [limit, call = std::move(call)](const QString& source, SourceProbe::Kind kind) {
        const auto running = std::make_shared<RunningProbe>(limit);
        auto outcome = running->outcome.get_future();
        std::thread([running, call, source, kind] {
            try {
                running->outcome.set_value(call(running->probe, source, kind));
            } catch (...) {
                running->outcome.set_exception(std::current_exception());
            }
        }).detach();
        if (outcome.wait_for(limit) == std::future_status::ready)
            return outcome.get();
        running->probe.cancel();
        SourceProbeResult late;
        late.error = QStringLiteral("no answer within %1 ms").arg(limit.count());
        return late;
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
