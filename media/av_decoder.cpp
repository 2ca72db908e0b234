#include "media/av_decoder.h"

#include "media/limits.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array kDeviceTypes = {
    AV_HWDEVICE_TYPE_CUDA,  AV_HWDEVICE_TYPE_DXVA2, AV_HWDEVICE_TYPE_D3D11VA,
    AV_HWDEVICE_TYPE_VAAPI, AV_HWDEVICE_TYPE_QSV,   AV_HWDEVICE_TYPE_VIDEOTOOLBOX,
};

/// What the decoder skips until a key packet or a picture has come. A stream may be refreshed by rows instead of key
/// pictures, so only what nothing refers to is skipped; H.264's decoder then takes what it cannot decode without a
/// complaint.
constexpr AVDiscard kDiscardBeforeJoining = AVDISCARD_NONREF;

/// Whether the decoder refuses pictures before the first key packet, whatever it is told to skip: because they refer to
/// what is not there, or because it waits for the headers that come with the key packet.
bool needsKeyFirst(const AVCodecContext& context)
{
    switch (context.codec_id) {
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_AV1:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_H263:
    case AV_CODEC_ID_FLV1:
    case AV_CODEC_ID_THEORA:
        return true;
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        return context.extradata_size == 0;
    default:
        return false;
    }
}

/// With low delay these decoders give pictures away as they are decoded, in a wrong order when there are B pictures.
bool lowDelayLosesOrder(AVCodecID codec)
{
    return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO || codec == AV_CODEC_ID_MPEG4;
}

bool isAdpcm(AVCodecID codec)
{
    return codec >= AV_CODEC_ID_ADPCM_IMA_QT && codec < AV_CODEC_ID_AMR_NB;
}

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
    context->skip_frame = kDiscardBeforeJoining;
    context->max_pixels = kMostPixels;
    if (avcodec_open2(context.get(), m_decoder, nullptr) < 0)
        return false;
    if (lowDelayLosesOrder(m_codecId) && context->has_b_frames > 0)
        context->flags &= ~AV_CODEC_FLAG_LOW_DELAY;
    m_context = std::move(context);
    return true;
}

bool AVDecoder::open(const AVCodecParameters* parameters)
{
    m_context.reset();
    m_joined = false;
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
    m_part.reset(av_packet_alloc());
    if (!m_frame || !m_transferred || !m_part) {
        m_context.reset();
        return false;
    }
    m_transferred->format = AV_PIX_FMT_NV12;
    return true;
}

bool AVDecoder::pushPacket(AVPacket* packet)
{
    if (!m_context)
        return refuse(std::string("there is no decoder of ") + avcodec_get_name(m_codecId));
    // An empty packet would tell the decoder that the stream has ended.
    if (packet->size == 0 && packet->side_data_elems == 0)
        return true;
    const int block = isAdpcm(m_codecId) ? m_context->block_align : 0;
    if (block <= 0 || packet->size <= block || packet->size % block != 0)
        return decode(*packet);
    bool accepted = av_packet_ref(m_part.get(), packet) >= 0;
    for (int rest = packet->size; rest > 0 && accepted; rest -= block) {
        m_part->data = packet->data + packet->size - rest;
        m_part->size = block;
        accepted = decode(*m_part);
    }
    av_packet_unref(m_part.get());
    return accepted;
}

bool AVDecoder::isUndecodableStart(const AVPacket& packet)
{
    if (m_joined)
        return false;
    if (packet.flags & AV_PKT_FLAG_KEY) {
        m_joined = true;
        m_context->skip_frame = AVDISCARD_DEFAULT;
    }
    return !m_joined && needsKeyFirst(*m_context);
}

bool AVDecoder::decode(const AVPacket& packet)
{
    if (isUndecodableStart(packet))
        return true;
    const int result = avcodec_send_packet(m_context.get(), &packet);
    if (result == AVERROR(EAGAIN))
        return refuse(name() + " finds more than one frame in a packet");
    if (result != 0)
        return refuse(name() + " cannot decode a packet: " + ffmpeg::errorText(result));
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
    m_joined = true;
    m_context->skip_frame = AVDISCARD_DEFAULT;
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

void AVDecoder::drop()
{
    if (!m_context)
        return;
    avcodec_flush_buffers(m_context.get());
    m_context->skip_frame = kDiscardBeforeJoining;
    m_joined = false;
}

std::string AVDecoder::deviceName() const
{
    const char* name = m_device && !m_deviceUnused ? av_hwdevice_get_type_name(m_deviceType) : nullptr;
    return name ? name : "";
}
