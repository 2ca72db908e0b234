#include "media/av_encoder.h"

AVEncoder::AVEncoder(const EncoderSettings& settings)
    : m_context(openEncoder(settings))
    , m_input(av_frame_alloc())
    , m_packet(av_packet_alloc())
    , m_sourceRate(settings.sourceRate)
{
    m_codecId = settings.codec;
    if (!m_input || !m_packet)
        m_context.reset();
}

bool AVEncoder::pushFrame(AVFrame* frame)
{
    recordInput(*frame);
    if (!m_context)
        return refuse(std::string("no encoder of ") + avcodec_get_name(m_codecId) + " takes such pictures");
    if (frame->width != m_context->width || frame->height != m_context->height || frame->format != m_context->pix_fmt)
        return refuse("the pictures change their size or format before " + name());
    ++m_taken;
    if (m_sourceRate.num <= 0)
        return encode(frame);
    // The picture lasts until the next one comes; every packet that begins meanwhile shows it.
    while (av_compare_ts(m_nextTimeStamp, m_context->time_base, m_taken, av_inv_q(m_sourceRate)) < 0) {
        if (!encode(frame))
            return false;
    }
    return true;
}

bool AVEncoder::encode(AVFrame* frame)
{
    // A reference of our own: the picture type that a decoder left on the frame would force the encoder's.
    if (av_frame_ref(m_input.get(), frame) < 0)
        return refuse("memory is short");
    m_input->pts = m_nextTimeStamp++;
    m_input->pict_type = AV_PICTURE_TYPE_NONE;
    const int result = avcodec_send_frame(m_context.get(), m_input.get());
    av_frame_unref(m_input.get());
    if (result != 0)
        return refuse(name() + " cannot encode a picture: " + ffmpeg::errorText(result));
    return pushPackets();
}

bool AVEncoder::flush()
{
    return m_context && avcodec_send_frame(m_context.get(), nullptr) == 0 && pushPackets();
}

bool AVEncoder::pushPackets()
{
    for (;;) {
        const int result = avcodec_receive_packet(m_context.get(), m_packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return true;
        if (result < 0)
            return refuse(name() + " cannot encode a picture: " + ffmpeg::errorText(result));
        m_packet->duration = 1; // One unit of the time base; not every encoder says so.
        const bool accepted = pushPacket(m_packet.get());
        av_packet_unref(m_packet.get());
        if (!accepted)
            return false;
    }
}
