// opencv_text_filter.h: writes frame statistics onto pictures with OpenCV.
#pragma once

#include "media/av_source_sink.h"
#include "media/frame_rate_counter.h"
#include "media/placement.h"
#include "media/text_box.h"

#include <functional>
#include <string>
#include <vector>

/// Frames that cannot be drawn on pass untouched, with a message on the standard streams.
class OpenCVTextFilter final : public AVSourceSink
{
public:
    /// `width` and `height` in pixels must be positive, else the filter stays without effect and says so per frame.
    OpenCVTextFilter(int width, int height, FrameRateCounter counter = FrameRateCounter());

    /// Where the area comes from that the "pic" line shows; without, it is the whole picture.
    void setPictureArea(std::function<PictureArea()> area) { m_pictureArea = std::move(area); }

    bool pushFrame(AVFrame* frame) override;

    bool isInitialized() const { return m_initialized; }

private:
    AVFrame* writable(AVFrame* frame);
    void formatLines(const AVFrame& frame);

    FrameRateCounter m_counter;
    bool m_initialized = false;
    std::function<PictureArea()> m_pictureArea;
    std::vector<std::string> m_lines;
    TextBox m_box;
    ffmpeg::Frame m_copy;
};
