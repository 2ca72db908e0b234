#include "media/av_bs_filter.h"

namespace {

const AVBitStreamFilter* filterFor(AVCodecID codec)
{
    switch (codec) {
    case AV_CODEC_ID_H264:
        return av_bsf_get_by_name("h264_mp4toannexb");
    case AV_CODEC_ID_HEVC:
        return av_bsf_get_by_name("hevc_mp4toannexb");
    default:
        return nullptr;
    }
}

/// Null when the filter cannot work on the stream.
ffmpeg::BitstreamFilter makeContext(const AVBitStreamFilter* filter, const AVCodecParameters* parameters)
{
    AVBSFContext* allocated = nullptr;
    if (!filter || !parameters || av_bsf_alloc(filter, &allocated) < 0)
        return nullptr;
    ffmpeg::BitstreamFilter context(allocated);
    if (avcodec_parameters_copy(context->par_in, parameters) < 0 || av_bsf_init(context.get()) < 0)
        return nullptr;
    return context;
}

} // namespace

AVBSFilter::AVBSFilter(const AVSourceSink& upstream)
{
    m_codecId = upstream.codecId();
    m_filter = filterFor(m_codecId);
    m_context = makeContext(m_filter, upstream.codecParameters());
}

bool AVBSFilter::pushPacket(AVPacket* packet)
{
    if (!m_context)
        return AVSourceSink::pushPacket(packet);
    // An empty packet would tell the filter that the stream has ended.
    if (!packet->data && packet->side_data_elems == 0)
        return true;
    int result = av_bsf_send_packet(m_context.get(), packet);
    if (result >= 0)
        result = av_bsf_receive_packet(m_context.get(), packet);
    if (result != 0)
        return refuse(std::string(m_filter->name) + " cannot rewrite a packet: " + ffmpeg::errorText(result));
    return AVSourceSink::pushPacket(packet);
}
