#include "tools/media/packet_file_writer.h"

#include <cstring>

extern "C" {
#include <libavutil/mem.h>
}

namespace {

/// Puts the headers that a key packet carries where a container looks for them.
void extractHeaders(AVCodecParameters& parameters, AVRational timeBase, const AVPacket& packet)
{
    AVBSFContext* allocated = nullptr;
    if (parameters.extradata_size > 0 || av_bsf_alloc(av_bsf_get_by_name("extract_extradata"), &allocated) < 0)
        return;
    const ffmpeg::BitstreamFilter filter(allocated);
    filter->time_base_in = timeBase;
    const ffmpeg::Packet copy(av_packet_clone(&packet));
    if (!copy || avcodec_parameters_copy(filter->par_in, &parameters) < 0 || av_bsf_init(filter.get()) < 0 ||
        av_bsf_send_packet(filter.get(), copy.get()) < 0 || av_bsf_receive_packet(filter.get(), copy.get()) < 0)
        return;
    for (int index = 0; index < copy->side_data_elems; ++index) {
        const AVPacketSideData& data = copy->side_data[index];
        if (data.type != AV_PKT_DATA_NEW_EXTRADATA)
            continue;
        parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(data.size + AV_INPUT_BUFFER_PADDING_SIZE));
        if (parameters.extradata) {
            std::memcpy(parameters.extradata, data.data, data.size);
            parameters.extradata_size = static_cast<int>(data.size);
        }
    }
}

} // namespace

bool PacketFileWriter::fail(int code)
{
    if (m_error.isEmpty())
        m_error = QString::fromStdString(ffmpeg::errorText(code));
    return false;
}

void PacketFileWriter::setStream(const AVCodecParameters& parameters, AVRational timeBase)
{
    m_parameters.reset(avcodec_parameters_alloc());
    avcodec_parameters_copy(m_parameters.get(), &parameters);
    m_parameters->codec_tag = 0; // The source container's own tag means nothing in another one.
    // Their packets are in start-code form by now; headers in the source container's form would contradict them.
    if (parameters.codec_id == AV_CODEC_ID_H264 || parameters.codec_id == AV_CODEC_ID_HEVC) {
        av_freep(&m_parameters->extradata);
        m_parameters->extradata_size = 0;
    }
    m_timeBase = timeBase;
}

bool PacketFileWriter::open(const AVPacket& first)
{
    if (!m_parameters)
        return fail(AVERROR(EINVAL));
    const QByteArray path = m_path.toUtf8();
    AVFormatContext* allocated = nullptr;
    int result = avformat_alloc_output_context2(&allocated, nullptr, nullptr, path.constData());
    m_context.reset(allocated);
    if (result < 0) {
        m_error = QStringLiteral("no container of FFmpeg has such a name");
        return false;
    }
    extractHeaders(*m_parameters, m_timeBase, first);
    AVStream* stream = avformat_new_stream(m_context.get(), nullptr);
    if (!stream)
        return fail(AVERROR(ENOMEM));
    result = avcodec_parameters_copy(stream->codecpar, m_parameters.get());
    stream->time_base = m_timeBase;
    if (result >= 0 && !(m_context->oformat->flags & AVFMT_NOFILE))
        result = avio_open(&m_context->pb, path.constData(), AVIO_FLAG_WRITE);
    if (result >= 0)
        result = avformat_write_header(m_context.get(), nullptr);
    return result >= 0 || fail(result);
}

bool PacketFileWriter::pushPacket(AVPacket* packet)
{
    if (!m_error.isEmpty())
        return false;
    // A file starts with a picture that stands by itself; reading may have begun behind it.
    if (!m_context && !(packet->flags & AV_PKT_FLAG_KEY))
        return true;
    if (!m_context && !open(*packet))
        return false;
    CountingSink::pushPacket(packet);
    const ffmpeg::Packet copy(av_packet_clone(packet));
    if (!copy)
        return fail(AVERROR(ENOMEM));
    copy->stream_index = 0;
    copy->pos = -1;
    av_packet_rescale_ts(copy.get(), m_timeBase, m_context->streams[0]->time_base);
    const int result = av_interleaved_write_frame(m_context.get(), copy.get());
    return result >= 0 || fail(result);
}

bool PacketFileWriter::finish()
{
    if (!m_context) {
        if (m_error.isEmpty())
            m_error = QStringLiteral("no packet arrived");
        return false;
    }
    if (m_error.isEmpty()) {
        const int result = av_write_trailer(m_context.get());
        if (result < 0)
            fail(result);
        const int closed = avio_closep(&m_context->pb);
        if (closed < 0)
            fail(closed);
    }
    return m_error.isEmpty();
}
