#include "media/hardware_access.h"

#include "media/picture.h"

#include <algorithm>

namespace {

bool canTransferAs(const AVFrame& hardwareFrame, AVPixelFormat wanted)
{
    AVPixelFormat* formats = nullptr;
    if (!hardwareFrame.hw_frames_ctx ||
        av_hwframe_transfer_get_formats(hardwareFrame.hw_frames_ctx, AV_HWFRAME_TRANSFER_DIRECTION_FROM, &formats, 0) <
            0)
        return false;
    bool found = false;
    for (const AVPixelFormat* format = formats; *format != AV_PIX_FMT_NONE; ++format)
        found = found || *format == wanted;
    av_free(formats);
    return found;
}

/// Brings a frame of system memory into `to`, which has its format and nothing else.
int convert(AVFrame& to, const AVFrame& from)
{
    to.width = from.width;
    to.height = from.height;
    int result = av_frame_get_buffer(&to, 0);
    if (result < 0)
        return result;
    const ffmpeg::Scaler scaler = makeScaler(from.width, from.height, from.format, to.width, to.height, to.format);
    if (!scaler)
        return AVERROR(ENOSYS);
    result = sws_scale(scaler.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize);
    return std::min(result, 0);
}

class SystemHardware final : public HardwareAccess
{
public:
    const AVCodecHWConfig* configuration(const AVCodec& decoder, int index) const override
    {
        return avcodec_get_hw_config(&decoder, index);
    }

    ffmpeg::BufferReference createDevice(AVHWDeviceType type) const override
    {
        AVBufferRef* device = nullptr;
        return ffmpeg::BufferReference(av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0) < 0 ? nullptr
                                                                                                      : device);
    }

    int transfer(AVFrame& to, const AVFrame& from) const override
    {
        if (canTransferAs(from, static_cast<AVPixelFormat>(to.format)))
            return av_hwframe_transfer_data(&to, &from, 0);
        // Surfaces of more than 8 bits come out in their own format first.
        const ffmpeg::Frame own(av_frame_alloc());
        if (!own)
            return AVERROR(ENOMEM);
        const int result = av_hwframe_transfer_data(own.get(), &from, 0);
        return result < 0 ? result : convert(to, *own);
    }
};

} // namespace

const HardwareAccess& systemHardware()
{
    static const SystemHardware hardware;
    return hardware;
}
