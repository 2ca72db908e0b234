// media_devices.cpp: plays sources for cameras and microphones (emulation/process/media_module.h says what for), and
// looks at sources for the program's dialogs.
#include "emulation/process/media_module.h"
#include "media/source_probe.h"

#include <utility>

extern "C" Q_DECL_EXPORT SourcePlayer* plugboardMakePlayer(VideoFileSettings settings)
{
    av_log_set_level(AV_LOG_FATAL); // the source's state says what is wrong with it
    return new SourcePlayer(std::move(settings));
}

extern "C" Q_DECL_EXPORT void plugboardMakeNoSignal(const uvc::CameraSetup& setup,
                                                    const std::vector<uvc::PicturePointer>& pictures,
                                                    uvc::PicturePointer& made)
{
    av_log_set_level(AV_LOG_FATAL);
    made = uvc::makeNoSignal(setup, pictures);
}

extern "C" Q_DECL_EXPORT SourceProbe* plugboardMakeSourceProbe(std::chrono::milliseconds limit)
{
    return makeSourceProbe(limit).release();
}
