#include "media/av_text_filter.h"

#include "media/overlay_font.h"

#include <array>
#include <cstdio>
#include <iostream>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/opt.h>
}

namespace {

constexpr int kTextX = 50;
constexpr int kTextY = 50;

/// Protects what separates options inside a quoted value: the colon of a drive, and the escape itself.
std::string escaped(const std::string& value)
{
    std::string result;
    for (const char character : value) {
        if (character == ':' || character == '\\')
            result += '\\';
        result += character;
    }
    return result;
}

} // namespace

bool AVTextFilter::createEnds(int width, int height, int format)
{
    std::array<char, 160> arguments;
    const char* formatName = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format));
    std::snprintf(arguments.data(), arguments.size(), "video_size=%dx%d:pix_fmt=%s:time_base=1/30:pixel_aspect=1/1",
                  width, height, formatName ? formatName : "none");
    if (avfilter_graph_create_filter(&m_in, avfilter_get_by_name("buffer"), "in", arguments.data(), nullptr,
                                     m_graph.get()) < 0) {
        std::cerr << "Failed to get buffer source filter" << std::endl;
        return false;
    }
    if (avfilter_graph_create_filter(&m_out, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                     m_graph.get()) < 0) {
        std::cerr << "Failed to get buffer sink filter" << std::endl;
        return false;
    }
    const AVPixelFormat formats[] = {static_cast<AVPixelFormat>(format)};
    if (av_opt_set_bin(m_out, "pix_fmts", reinterpret_cast<const std::uint8_t*>(formats), sizeof formats,
                       AV_OPT_SEARCH_CHILDREN) < 0) {
        std::cerr << "Cannot set output pixel format for buffersink" << std::endl;
        return false;
    }
    return true;
}

bool AVTextFilter::buildGraph(int width, int height, int format, const std::string& text, const std::string& font,
                              int x, int y)
{
    m_drawText = nullptr;
    m_graph.reset(avfilter_graph_alloc());
    if (!m_graph) {
        std::cerr << "Failed to allocate filter graph" << std::endl;
        return false;
    }
    m_graph->nb_threads = 1; // One small text: threads would only add their start.
    if (!createEnds(width, height, format))
        return false;

    const std::string description = "drawtext=fontfile='" + escaped(font) + "':text='" + text +
                                    "':fontcolor=white:fontsize=48:box=1:boxcolor=red@0.8:x=" + std::to_string(x) +
                                    ":y=" + std::to_string(y);
    std::cout << "Filter graph description: " << description << std::endl;

    // The parser's "outputs" are the ends that feed the description, and the other way round.
    ffmpeg::FilterInOut outputs(avfilter_inout_alloc());
    ffmpeg::FilterInOut inputs(avfilter_inout_alloc());
    if (!outputs || !inputs) {
        std::cerr << "Failed to allocate AVFilterInOut" << std::endl;
        return false;
    }
    outputs->name = av_strdup("in");
    outputs->filter_ctx = m_in;
    inputs->name = av_strdup("out");
    inputs->filter_ctx = m_out;
    AVFilterInOut* openInputs = inputs.release();
    AVFilterInOut* openOutputs = outputs.release();
    const int parsed = avfilter_graph_parse_ptr(m_graph.get(), description.c_str(), &openInputs, &openOutputs, nullptr);
    inputs.reset(openInputs);
    outputs.reset(openOutputs);
    if (parsed < 0 || avfilter_graph_config(m_graph.get(), nullptr) < 0)
        return false;
    m_drawText = avfilter_graph_get_filter(m_graph.get(), "Parsed_drawtext_0");
    if (!m_drawText)
        return false;
    m_inputFormat = format;
    m_graphWidth = width;
    m_graphHeight = height;
    std::cout << "Filter graph created successfully" << std::endl;
    return true;
}

bool AVTextFilter::pushFrame(AVFrame* frame)
{
    recordInput(*frame);
    const bool fits =
        m_drawText && frame->width == m_graphWidth && frame->height == m_graphHeight && frame->format == m_inputFormat;
    if (!fits)
        buildGraph(frame->width, frame->height, frame->format, "init", overlayFont(), kTextX, kTextY);
    m_counter.update();
    if (m_drawText && !filter(frame))
        return true; // The frame is gone; the next one may come through.
    return AVSourceSink::pushFrame(frame);
}

/// Draws into the frame; false when the graph swallowed it.
bool AVTextFilter::filter(AVFrame* frame)
{
    std::array<char, 160> text;
    std::snprintf(text.data(), text.size(), "帧数:%d fps:%.2f fps_avg:%.2f", static_cast<int>(m_counter.frameCount()),
                  m_counter.currentRate(), m_counter.averageRate());
    av_opt_set(m_drawText, "text", text.data(), AV_OPT_SEARCH_CHILDREN);

    int result = av_buffersrc_add_frame_flags(m_in, frame, AV_BUFFERSRC_FLAG_KEEP_REF);
    if (result < 0) {
        std::cerr << "Failed to add frame to filter graph, error: " << result << std::endl;
        return true;
    }
    av_frame_unref(frame); // Now the graph's reference is the only one, and it draws in place.
    result = av_buffersink_get_frame(m_out, frame);
    if (result < 0)
        std::cerr << "Failed to get frame from filter graph, error: " << result << std::endl;
    return result >= 0;
}
