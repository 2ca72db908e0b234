#include "media/av_decoder.h"

#include <array>

namespace {

constexpr std::array kDeviceTypes = {
    AV_HWDEVICE_TYPE_CUDA,  AV_HWDEVICE_TYPE_DXVA2, AV_HWDEVICE_TYPE_D3D11VA,
    AV_HWDEVICE_TYPE_VAAPI, AV_HWDEVICE_TYPE_QSV,   AV_HWDEVICE_TYPE_VIDEOTOOLBOX,
};

} // namespace

AVDecoder::AVDecoder(AVCodecID codec, const HardwareAccess& hardware) : m_hardware(hardware)
{
    m_codecId = codec;
}

void AVDecoder::chooseHardware()
{
    for (const AVHWDeviceType type : kDeviceTypes) {
        void* position = nullptr;
        while (const AVCodec* codec = av_codec_iterate(&position)) {
            if (!av_codec_is_decoder(codec) || codec->id != m_codecId)
                continue;
            for (int index = 0; const AVCodecHWConfig* way = m_hardware.configuration(*codec, index); ++index) {
                if (way->device_type != type || !(way->methods & AV_CODEC_HW_CONFIG_METHOD_HW_DEVICE_CTX))
                    continue;
                m_device = m_hardware.createDevice(type);
                if (!m_device)
                    break;
                m_decoder = codec;
                m_deviceType = type;
                m_hardwarePixelFormat = way->pix_fmt;
                return;
            }
        }
    }
}

/// Takes the chosen hardware format where the decoder offers it for this stream, else the decoder's software format.
AVPixelFormat AVDecoder::chooseFormat(AVCodecContext* context, const AVPixelFormat* offered)
{
    const auto* self = static_cast<const AVDecoder*>(context->opaque);
    for (const AVPixelFormat* format = offered; *format != AV_PIX_FMT_NONE; ++format) {
        if (*format == self->m_hardwarePixelFormat)
            return *format;
    }
    for (const AVPixelFormat* format = offered; *format != AV_PIX_FMT_NONE; ++format) {
        const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(*format);
        if (description && !(description->flags & AV_PIX_FMT_FLAG_HWACCEL))
            return *format;
    }
    return AV_PIX_FMT_NONE;
}

bool AVDecoder::openDecoder(const AVCodecParameters* parameters)
{
    ffmpeg::CodecContext context(avcodec_alloc_context3(m_decoder));
    if (!context)
        return false;
    if (parameters) {
        if (avcodec_parameters_to_context(context.get(), parameters) < 0)
            return false;
    } else {
        context->width = m_inputWidth;
        context->height = m_inputHeight;
        context->pix_fmt = static_cast<AVPixelFormat>(m_inputFormat);
    }
    if (m_device) {
        context->hw_device_ctx = av_buffer_ref(m_device.get());
        context->opaque = this;
        context->get_format = &AVDecoder::chooseFormat;
    }
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    context->thread_type = FF_THREAD_SLICE; // Threads by frame would hold one picture back for each thread.
    context->thread_count = m_threadCount;
    if (avcodec_open2(context.get(), m_decoder, nullptr) < 0)
        return false;
    m_context = std::move(context);
    return true;
}

bool AVDecoder::open(const AVCodecParameters* parameters)
{
    m_context.reset();
    chooseHardware();
    bool opened = m_device && openDecoder(parameters);
    if (!opened) {
        m_device.reset();
        m_deviceType = AV_HWDEVICE_TYPE_NONE;
        m_hardwarePixelFormat = -1;
        m_decoder = avcodec_find_decoder(m_codecId);
        opened = m_decoder && openDecoder(parameters);
    }
    if (!opened)
        return false;
    m_frame.reset(av_frame_alloc());
    m_transferred.reset(av_frame_alloc());
    if (!m_frame || !m_transferred) {
        m_context.reset();
        return false;
    }
    m_transferred->format = AV_PIX_FMT_NV12;
    return true;
}

bool AVDecoder::pushPacket(AVPacket* packet)
{
    if (!m_context)
        return false;
    // An empty packet would tell the decoder that the stream has ended.
    if (packet->size == 0 && packet->side_data_elems == 0)
        return true;
    if (avcodec_send_packet(m_context.get(), packet) != 0)
        return false;
    bool accepted = true;
    receiveFrame(accepted);
    return accepted;
}

/// Takes one frame out and pushes it; false when none is ready. `accepted` becomes the chain's answer.
bool AVDecoder::receiveFrame(bool& accepted)
{
    if (avcodec_receive_frame(m_context.get(), m_frame.get()) != 0)
        return false;
    AVFrame* frame = m_frame.get();
    if (frame->format == m_hardwarePixelFormat) {
        m_transferred->format = AV_PIX_FMT_NV12; // Releasing the frame has reset it.
        const int result = m_hardware.transfer(*m_transferred, *m_frame);
        m_transferred->color_range = m_frame->color_range;
        m_transferred->colorspace = m_frame->colorspace;
        m_transferred->sample_aspect_ratio = m_frame->sample_aspect_ratio;
        av_frame_unref(m_frame.get());
        frame = m_transferred.get();
        if (result < 0) {
            av_frame_unref(frame);
            return true;
        }
    }
    m_deviceUnused = frame == m_frame.get();
    frame->pts = 0;
    frame->pkt_dts = 0;
    recordInput(*frame);
    accepted = pushFrame(frame);
    av_frame_unref(frame);
    return true;
}

bool AVDecoder::flush()
{
    if (!m_context || avcodec_send_packet(m_context.get(), nullptr) != 0)
        return false;
    bool accepted = true;
    while (accepted && receiveFrame(accepted)) {
    }
    return accepted;
}

std::string AVDecoder::deviceName() const
{
    const char* name = m_device && !m_deviceUnused ? av_hwdevice_get_type_name(m_deviceType) : nullptr;
    return name ? name : "";
}
