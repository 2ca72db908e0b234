#include "dialogs/source_check.h"

#include "devices/media_library.h"
#include "media/log.h"
#include "runtime/secrets.h"
#include "ui/busy_cursor.h"

#include <QCoreApplication>
#include <QLibrary>

#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace {

struct SourceTexts
{
    Q_DECLARE_TR_FUNCTIONS(SourceTexts)
};

/// Null with the reason in `error` when the library is not there.
std::unique_ptr<SourceProbe> loadedProbe(std::chrono::milliseconds limit, QString& error)
{
    QLibrary module(QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(kMediaModule));
    const auto make = reinterpret_cast<MakeSourceProbe>(module.resolve(kMakeSourceProbe)); // stays loaded
    if (!make)
        error = module.errorString();
    return std::unique_ptr<SourceProbe>(make ? make(limit) : nullptr);
}

/// A probe and what comes of it; it lives as long as somebody waits for that or its thread runs, whichever is longer.
struct RunningProbe final : public PendingPicture
{
    explicit RunningProbe(std::unique_ptr<SourceProbe> itsProbe) : probe(std::move(itsProbe)) {}

    std::optional<PreviewPicture> take() override
    {
        const std::lock_guard lock(m_lock);
        return m_picture;
    }

    void stop() override { probe->cancel(); }

    void finish(PreviewPicture picture)
    {
        const std::lock_guard lock(m_lock);
        m_picture = std::move(picture);
    }

    const std::unique_ptr<SourceProbe> probe;
    std::promise<SourceProbeResult> outcome;

private:
    std::mutex m_lock;
    std::optional<PreviewPicture> m_picture;
};

/// On a thread of its own. The outcome is told before a picture is read, which may take as long again.
void look(RunningProbe& running, const ProbeCall& call, const QString& source, SourceProbe::Kind kind)
{
    try {
        running.outcome.set_value(call(*running.probe, source, kind));
    } catch (...) {
        running.outcome.set_exception(std::current_exception());
    }
    try {
        running.finish(kind == SourceProbe::Kind::Video
                           ? running.probe->firstPicture(kMostPreviewWidth, kMostPreviewHeight)
                           : PreviewPicture());
    } catch (const std::exception&) {
        running.finish({});
    }
}

} // namespace

SourceCheck checkWithin(std::chrono::milliseconds limit, ProbeCall call)
{
    return [limit, call = std::move(call)](const QString& source, SourceProbe::Kind kind) {
        SourceProbeResult missing;
        auto probe = loadedProbe(limit, missing.error);
        if (!probe)
            return missing;
        const auto running = std::make_shared<RunningProbe>(std::move(probe));
        auto outcome = running->outcome.get_future();
        std::thread([running, call, source, kind] { look(*running, call, source, kind); }).detach();
        if (outcome.wait_for(limit) == std::future_status::ready) {
            SourceProbeResult found = outcome.get();
            found.picture = running;
            return found;
        }
        running->probe->cancel();
        SourceProbeResult late;
        late.error = SourceTexts::tr("no answer within %1 s").arg(std::chrono::duration<double>(limit).count());
        return late;
    };
}

SourceProbeResult runCheck(const SourceCheck& check, const QString& source, SourceProbe::Kind kind)
{
    const BusyCursor busy;
    try {
        const SourceProbeResult result = check(source, kind);
        if (!result.opened)
            qCWarning(mediaLog).noquote() << "Source" << sourceForLog(source) << "does not open:" << result.error;
        return result;
    } catch (const std::exception& failure) {
        qCWarning(mediaLog).noquote() << "Source" << sourceForLog(source) << "cannot be checked:" << failure.what();
        SourceProbeResult failed;
        failed.error = QString::fromLocal8Bit(failure.what());
        return failed;
    }
}

QString uselessReason(const SourceProbeResult& result, SourceProbe::Kind kind)
{
    const bool isVideo = kind == SourceProbe::Kind::Video;
    if (isVideo ? result.isUsableVideo() : result.isUsableAudio())
        return {};
    if (!result.opened)
        return result.error.isEmpty() ? SourceTexts::tr("It cannot be opened.") : result.error;
    if (!isVideo)
        return result.hasAudio ? SourceTexts::tr("The rate or channels of its sound are not known.")
                               : SourceTexts::tr("There is no sound in it.");
    return result.hasVideo ? SourceTexts::tr("The size or rate of its pictures is not known.")
                           : SourceTexts::tr("There are no pictures in it.");
}
