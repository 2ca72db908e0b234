#include "media/debug_commands.h"

#include "media/control/cmd_map.h"
#include "media/video_file_source.h"

#include <QCoreApplication>

#include <iostream>

namespace {

constexpr std::chrono::milliseconds kTakeLimit(100);
constexpr std::chrono::seconds kReportPeriod(1);
constexpr std::size_t kInterfaceDetailLimit = 8192; // Bytes.

/// Takes what the source makes and prints its rate each second. -1 when the source ends by itself.
std::int32_t play(VideoFileSource& source, const std::atomic<bool>* stop)
{
    using Clock = std::chrono::steady_clock;
    auto lastReport = Clock::now();
    int frames = 0;
    while (!stop || !*stop) {
        if (std::optional<MediaItem> item = source.take(kTakeLimit)) {
            frames += item->width > 0;
            source.recycle(std::move(*item));
        } else if (source.isFinished()) {
            std::cerr << "TestAv: playing has ended: " << source.description() << std::endl;
            return -1;
        }
        if (Clock::now() - lastReport >= kReportPeriod) {
            std::cout << "TestAv: " << frames << " frames in the last second" << std::endl;
            lastReport = Clock::now();
            frames = 0;
        }
    }
    return 0;
}

std::int32_t testAv(void* first, void*)
{
    const TestAvArguments standard{"test.mp4", nullptr};
    const auto& arguments = first ? *static_cast<const TestAvArguments*>(first) : standard;
    VideoFileSettings settings;
    settings.url = arguments.url;
    VideoFileSource source(settings);
    source.start();
    return play(source, arguments.stop);
}

std::int32_t reset(void* first, void*)
{
    const auto* arguments = static_cast<const ResetArguments*>(first);
    if (!arguments || !arguments->paths)
        return -1;
    const auto paths = arguments->paths(L"{4D10A44F-446C-4481-B354-4F04E6C69812}", kInterfaceDetailLimit);
    const std::optional<std::wstring> path = hostControllerPath(paths, arguments->kind);
    if (!path)
        return -1;
    const bool sent = arguments->send(*path);
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, &QCoreApplication::quit, Qt::QueuedConnection);
    return sent ? 0 : -1;
}

const std::uint32_t kTestAvRegistration = CmdMap::instance().add("TestAv", testAv);
const std::uint32_t kResetRegistration = CmdMap::instance().add("Reset", reset);

} // namespace
