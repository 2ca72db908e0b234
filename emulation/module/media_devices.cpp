// media_devices.cpp: makes the devices that play media (emulation/process/media_module.h says what for), and looks at
// sources for the program's dialogs.
#include "emulation/microphone/microphone.h"
#include "emulation/process/media_module.h"
#include "emulation/video/camera.h"
#include "media/source_probe.h"

namespace {

Outcome<std::unique_ptr<DeviceFunction>> make(const DeviceContext& context, const usb::DeviceDescriptors& identity)
{
    switch (context.device.type) {
    case DeviceType::Camera:
        return uvc::makeCamera(identity, context);
    case DeviceType::Microphone:
        return audio::makeMicrophone(identity, context);
    default:
        return std::unique_ptr<DeviceFunction>();
    }
}

} // namespace

extern "C" Q_DECL_EXPORT DeviceFunction*
plugboardMakeMediaDevice(const DeviceContext& context, const usb::DeviceDescriptors& identity, QString* fault)
{
    auto made = make(context, identity);
    *fault = made.fault();
    return made ? made.take().release() : nullptr;
}

extern "C" Q_DECL_EXPORT SourceProbe* plugboardMakeSourceProbe(std::chrono::milliseconds limit)
{
    return makeSourceProbe(limit).release();
}
