#include "emulation/process/media_module.h"

#include "devices/media_library.h"

#include <QCoreApplication>
#include <QLibrary>
#include <QLoggingCategory>

namespace {

QString modulePath()
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(kMediaModule);
}

/// Null with the fault in the log when the library is not there. Any thread.
template<typename Function>
Function functionOf(const char* name)
{
    QLibrary module(modulePath()); // stays loaded
    const auto function = reinterpret_cast<Function>(module.resolve(name));
    if (!function)
        qWarning().noquote() << loadMediaModule();
    return function;
}

} // namespace

QString loadMediaModule()
{
    QLibrary module(modulePath());
    return module.load() ? QString()
                         : QStringLiteral("The devices that play media cannot be loaded: %1").arg(module.errorString());
}

std::unique_ptr<SourcePlayer> makePlayer(VideoFileSettings settings)
{
    static const auto s_make = functionOf<MakePlayer>(kMakePlayer);
    return std::unique_ptr<SourcePlayer>(s_make ? s_make(std::move(settings)) : nullptr);
}

uvc::PicturePointer uvc::makeNoSignal(const CameraSetup& setup, const std::vector<PicturePointer>& pictures)
{
    static const auto s_make = functionOf<MakeNoSignal>(kMakeNoSignal);
    PicturePointer made;
    if (s_make)
        s_make(setup, pictures, made);
    return made;
}
