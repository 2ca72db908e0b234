// av_text_filter.h: writes frame statistics onto pictures with FFmpeg's drawtext filter.
#pragma once

#include "media/av_source_sink.h"
#include "media/frame_rate_counter.h"

#include <string>

/// The graph is built for the first frame and again when size or format change. A graph that cannot be built is tried
/// again at the next frame; meanwhile frames pass untouched. Messages go to the standard streams.
class AVTextFilter final : public AVSourceSink
{
public:
    AVTextFilter() = default;

    bool pushFrame(AVFrame* frame) override;

    bool isBuilt() const { return m_drawText != nullptr; }

private:
    bool buildGraph(int width, int height, int format, const std::string& text, const std::string& font, int x, int y);
    bool createEnds(int width, int height, int format);
    bool filter(AVFrame* frame);

    FrameRateCounter m_counter;
    ffmpeg::FilterGraph m_graph;
    AVFilterContext* m_in = nullptr;
    AVFilterContext* m_out = nullptr;
    AVFilterContext* m_drawText = nullptr; ///< Null while the graph is not built.
    int m_graphWidth = 0;
    int m_graphHeight = 0;
};
