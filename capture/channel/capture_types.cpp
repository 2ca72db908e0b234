#include "capture/channel/capture_types.h"

void registerCaptureTypes()
{
    static const bool s_registered = [] {
        qRegisterMetaType<std::uint32_t>("uint32_t");
        qRegisterMetaType<UsbIPPacketInfo>("UsbIPPacketInfo");
        qRegisterMetaType<CaptureStats>("CaptureStats");
        return true;
    }();
    Q_UNUSED(s_registered)
}
