// hardware_access.h: what the decoder asks of hardware decoding devices, one virtual call each.
#pragma once

#include "media/ffmpeg_handles.h"

class HardwareAccess
{
public:
    virtual ~HardwareAccess() = default;

    /// Way number `index` in which a decoder can use hardware; null past the last.
    virtual const AVCodecHWConfig* configuration(const AVCodec& decoder, int index) const = 0;

    /// The system's default device of a type; null when there is none that works.
    virtual ffmpeg::BufferReference createDevice(AVHWDeviceType type) const = 0;

    /// Copies a hardware frame into system memory as NV12, whatever its surface format. `to` is empty with its format
    /// set to NV12. 0, or FFmpeg's error code.
    virtual int transfer(AVFrame& to, const AVFrame& from) const = 0;
};

/// The devices of this machine.
const HardwareAccess& systemHardware();
