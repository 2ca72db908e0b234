#include "media/media_input.h"

#include <utility>

extern "C" {
#include <libavutil/mem.h>
}

MediaInput::MediaInput(std::string url, MediaInterrupt& interrupt, std::string protocols)
    : m_url(std::move(url))
    , m_interrupt(interrupt)
    , m_protocols(std::move(protocols))
{}

int MediaInput::open()
{
    close();

    ffmpeg::Dictionary options;
    options.set("rtsp_transport", "tcp");
    options.set("rtsp_transport", "tcp");
    options.set("probesize", "32"); // Bytes: only what names the streams is read before playing starts.
    options.set("analyzeduration", "1000");
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
    m_interrupt.beginCall();
    const int result = avformat_open_input(&opened, m_url.c_str(), nullptr, options.address());
    m_context.reset(opened);
    return result;
}

int MediaInput::findStreamInformation()
{
    m_interrupt.beginCall();
    return avformat_find_stream_info(m_context.get(), nullptr);
}

int MediaInput::read(AVPacket* packet)
{
    m_interrupt.beginCall();
    return m_context ? av_read_frame(m_context.get(), packet) : AVERROR_EOF;
}

void MediaInput::close()
{
    m_interrupt.beginCall();
    m_context.reset();
}
