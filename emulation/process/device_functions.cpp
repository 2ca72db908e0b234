#include "emulation/process/device_functions.h"

#include "devices/parameter_list.h"
#include "emulation/audio/speaker.h"
#include "emulation/hid/keyboard.h"
#include "emulation/hid/mouse.h"
#include "emulation/microphone/microphone.h"
#include "emulation/process/media_module.h"
#include "emulation/securitykey/security_key_function.h"
#include "emulation/storage/disk.h"
#include "emulation/video/camera.h"

namespace {

usb::DeviceDescriptors identityOf(const DeviceDescription& device)
{
    usb::DeviceDescriptors identity;
    identity.bcdUSB = std::uint16_t(device.usbVersion.toUInt(nullptr, 16));
    identity.idVendor = std::uint16_t(device.vid.toUInt(nullptr, 16));
    identity.idProduct = std::uint16_t(device.pid.toUInt(nullptr, 16));
    identity.manufacturer = QStringLiteral("Plugboard");
    identity.product = device.name;
    return identity;
}

Outcome<std::unique_ptr<DeviceFunction>> makeDisk(const DeviceDescription& device)
{
    auto disk = storage::Disk::make(identityOf(device), device.parameters.value(parameter::StorageSize).toInt());
    if (!disk)
        return Fault{disk.fault()};
    return std::unique_ptr<DeviceFunction>(disk.take());
}

std::unique_ptr<DeviceFunction> makeSpeaker(const DeviceDescription& device)
{
    const audio::SoundFormat format{device.parameters.value(parameter::SpeakerChannels).toInt(),
                                    device.parameters.value(parameter::SpeakerSampleRate).toInt()};
    return std::make_unique<audio::Speaker>(identityOf(device), format);
}

Outcome<std::unique_ptr<DeviceFunction>> makeMediaDevice(const DeviceContext& context)
{
    const bool isCamera = context.device.type == DeviceType::Camera;
    const int source = isCamera ? int(parameter::CameraSource) : int(parameter::MicrophoneSource);
    const usb::DeviceDescriptors identity = identityOf(context.device);
    auto made = isCamera ? uvc::makeCamera(identity, context) : audio::makeMicrophone(identity, context);
    if (made && SourceFunction::isThere(context.device.parameters.value(source))) {
        const QString fault = loadMediaModule();
        if (!fault.isEmpty())
            return Fault{fault};
    }
    return made;
}

} // namespace

Outcome<std::unique_ptr<DeviceFunction>> makeDeviceFunction(const DeviceContext& context)
{
    switch (context.device.type) {
    case DeviceType::Keyboard:
        return std::unique_ptr<DeviceFunction>(std::make_unique<hid::Keyboard>(identityOf(context.device)));
    case DeviceType::Mouse:
        return std::unique_ptr<DeviceFunction>(std::make_unique<hid::Mouse>(identityOf(context.device)));
    case DeviceType::Storage:
        return makeDisk(context.device);
    case DeviceType::Fido2:
        return ctap::SecurityKeyFunction::make(identityOf(context.device), context);
    case DeviceType::Speaker:
        return makeSpeaker(context.device);
    case DeviceType::Camera:
    case DeviceType::Microphone:
        return makeMediaDevice(context);
    default:
        return std::unique_ptr<DeviceFunction>();
    }
}
