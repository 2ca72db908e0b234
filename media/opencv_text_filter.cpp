#include "media/opencv_text_filter.h"

#include "media/picture.h"

#include <array>
#include <cstdio>
#include <iostream>

namespace {

constexpr int kBoxX = 10; // Pixels.
constexpr int kBoxY = 10;

} // namespace

OpenCVTextFilter::OpenCVTextFilter(int width, int height, FrameRateCounter counter)
    : m_counter(std::move(counter))
    , m_initialized(width > 0 && height > 0)
    , m_lines(2)
{
    m_inputWidth = width;
    m_inputHeight = height;
    if (m_initialized)
        std::cout << "OpenCVTextFilter initialized with size: " << width << "x" << height << std::endl;
    else
        std::cerr << "Invalid dimensions: " << width << "x" << height << std::endl;
}

bool OpenCVTextFilter::pushFrame(AVFrame* frame)
{
    m_counter.update();
    if (!m_initialized) {
        std::cerr << "OpenCVTextFilter not initialized" << std::endl;
        return !frame || AVSourceSink::pushFrame(frame);
    }
    if (!frame) {
        std::cerr << "Invalid frame" << std::endl;
        return true;
    }
    if (!TextBox::supports(frame->format) || frame->width <= 0 || frame->height <= 0) {
        std::cerr << "Unsupported pixel format: " << frame->format << "\nFailed to convert AVFrame to cv::Mat"
                  << std::endl;
        return AVSourceSink::pushFrame(frame);
    }
    AVFrame* drawn = writable(frame);
    if (!drawn) {
        std::cerr << "Failed to convert cv::Mat back to AVFrame" << std::endl;
        return AVSourceSink::pushFrame(frame);
    }
    formatLines(*drawn);
    m_box.layOut(m_lines, kBoxX, kBoxY, drawn->width, drawn->height);
    m_box.draw(*drawn);
    return AVSourceSink::pushFrame(drawn);
}

/// The frame itself, or a copy where a decoder or another stage still looks at its memory; null when that fails.
AVFrame* OpenCVTextFilter::writable(AVFrame* frame)
{
    if (av_frame_is_writable(frame))
        return frame;
    const bool fits = m_copy && m_copy->format == frame->format && m_copy->width == frame->width &&
                      m_copy->height == frame->height && av_frame_is_writable(m_copy.get());
    if (!fits)
        m_copy = makePicture(frame->format, frame->width, frame->height);
    if (!m_copy || av_frame_copy(m_copy.get(), frame) < 0)
        return nullptr;
    m_copy->pts = frame->pts;
    m_copy->pkt_dts = frame->pkt_dts;
    m_copy->color_range = frame->color_range;
    m_copy->colorspace = frame->colorspace;
    m_copy->sample_aspect_ratio = frame->sample_aspect_ratio;
    return m_copy.get();
}

void OpenCVTextFilter::formatLines(const AVFrame& frame)
{
    std::array<char, 160> line;
    std::snprintf(line.data(), line.size(), "FPS:%.01f FPS_AVG:%.01f FRAME_CNT:%d TIME:%f", m_counter.currentRate(),
                  m_counter.averageRate(), static_cast<int>(m_counter.frameCount()), m_counter.elapsed());
    m_lines[0] = line.data();
    const PictureArea area = m_pictureArea ? m_pictureArea() : PictureArea{0, 0, frame.width, frame.height};
    std::snprintf(line.data(), line.size(), "pic:%d,%d,%d,%d", area.x, area.y, area.width, area.height);
    m_lines[1] = line.data();
}
