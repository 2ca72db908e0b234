#include "media/media_input.h"

#include "media/limits.h"

#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/mem.h>
}

MediaInput::MediaInput(std::string url, MediaInterrupt& interrupt, std::string protocols)
    : m_url(std::move(url))
    , m_interrupt(interrupt)
    , m_protocols(std::move(protocols))
{}

MediaInput::~MediaInput()
{
    close();
}

int MediaInput::open()
{
    close();
    m_interrupt.beginInput();

    ffmpeg::Dictionary options;
    options.set("rtsp_transport", "tcp");
    options.set("rtsp_transport", "tcp");
    options.set("probesize", "32"); // Bytes: only what names the streams is read before playing starts.
    options.set("analyzeduration", "1000");
    options.set("max_streams", std::to_string(kMostStreams).c_str());
    options.set("fflags", "nobuffer");
    options.set("flags", "low_delay");

    ffmpeg::FormatContext context(avformat_alloc_context());
    if (!context)
        return AVERROR(ENOMEM);
    context->interrupt_callback = m_interrupt.callback();
    if (!m_protocols.empty())
        context->protocol_whitelist = av_strdup(m_protocols.c_str());

    // A failed open frees the context by itself, so it travels through a plain pointer.
    AVFormatContext* opened = context.release();
    const MediaInterrupt::Call call(m_interrupt);
    const int result = avformat_open_input(&opened, m_url.c_str(), nullptr, options.address());
    m_context.reset(opened);
    return result;
}

int MediaInput::findStreamInformation()
{
    const MediaInterrupt::Call call(m_interrupt);
    std::vector<AVDictionary*> options(m_context->nb_streams); // for the decoders that it opens by itself
    for (AVDictionary*& option : options)
        av_dict_set_int(&option, "max_pixels", kMostPixels, 0);
    const int result = avformat_find_stream_info(m_context.get(), options.empty() ? nullptr : options.data());
    for (AVDictionary*& option : options)
        av_dict_free(&option);
    return result;
}

int MediaInput::read(AVPacket* packet)
{
    const MediaInterrupt::Call call(m_interrupt);
    return m_context ? av_read_frame(m_context.get(), packet) : AVERROR_EOF;
}

void MediaInput::close()
{
    const MediaInterrupt::Call call(m_interrupt);
    m_context.reset();
}

bool MediaInput::canRewind() const
{
    if (!m_context)
        return false;
    if (m_context->pb)
        return m_context->pb->seekable & AVIO_SEEKABLE_NORMAL;
    return m_url.find("://") == std::string::npos; // Pictures in numbered files.
}

bool MediaInput::isLive() const
{
    return m_context && !canRewind() && (!m_context->pb || avio_size(m_context->pb) <= 0);
}

std::string MediaInput::reasonFor(int result) const
{
    if (m_interrupt.isStopped())
        return "it was stopped";
    if (m_interrupt.hasExpired()) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_interrupt.limit()).count();
        return "nothing came for " + std::to_string(seconds) + " s";
    }
    return ffmpeg::errorText(result);
}

int MediaInput::seek(std::int64_t time)
{
    if (!m_context)
        return AVERROR_EOF;
    const MediaInterrupt::Call call(m_interrupt);
    return avformat_seek_file(m_context.get(), -1, INT64_MIN, time, time, 0);
}
