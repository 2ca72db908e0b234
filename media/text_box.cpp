#include "media/text_box.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace {

constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
constexpr double kFontScale = 1.0;
constexpr int kThickness = 2; // Pixels, as the margins.
constexpr int kTextMargin = 10;
constexpr int kLineGap = 5;

/// The two colours of the box in one pixel format: values of one byte for each of three channels.
struct Colors
{
    std::uint8_t red[3];
    std::uint8_t white[3];
};

constexpr Colors kLimitedYuv = {{82, 90, 240}, {235, 128, 128}};
constexpr Colors kFullYuv = {{76, 85, 255}, {255, 128, 128}};
constexpr Colors kRgb = {{255, 0, 0}, {255, 255, 255}};

bool isFullRange(const AVFrame& picture)
{
    switch (picture.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_GRAY8:
        return true;
    default:
        return picture.color_range == AVCOL_RANGE_JPEG;
    }
}

int roundUpToEven(int value)
{
    return value + value % 2;
}

/// The start of a box of `length`, moved inside a picture side of `limit` pixels; even.
int startInside(int start, int length, int limit)
{
    return std::max(std::min(start, limit - length), 0) & ~1;
}

} // namespace

bool TextBox::supports(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUV444P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_NV12:
    case AV_PIX_FMT_NV21:
    case AV_PIX_FMT_RGB24:
    case AV_PIX_FMT_BGR24:
    case AV_PIX_FMT_GRAY8:
        return true;
    default:
        return false;
    }
}

void TextBox::layOut(const std::vector<std::string>& lines, int x, int y, int pictureWidth, int pictureHeight)
{
    cv::Size largest;
    int baseline = 0;
    for (const std::string& line : lines) {
        const cv::Size size = cv::getTextSize(line, kFont, kFontScale, kThickness, &baseline);
        largest.width = std::max(largest.width, size.width);
        largest.height = std::max(largest.height, size.height);
    }
    const int lineStep = largest.height + kLineGap;
    const int width = roundUpToEven(largest.width + 2 * kTextMargin);
    const int height = roundUpToEven(static_cast<int>(lines.size()) * lineStep + baseline);

    m_area.x = startInside(x, width, pictureWidth);
    m_area.y = startInside(y, height, pictureHeight);
    m_area.width = std::min(width, pictureWidth - m_area.x);
    m_area.height = std::min(height, pictureHeight - m_area.y);
    if (m_storage.cols < m_area.width || m_storage.rows < m_area.height)
        m_storage.create(std::max(m_storage.rows, m_area.height), std::max(m_storage.cols, m_area.width), CV_8UC1);
    m_mask = m_storage(cv::Rect(0, 0, m_area.width, m_area.height));
    m_mask.setTo(0);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const cv::Point start(kTextMargin, lineStep * static_cast<int>(index + 1));
        cv::putText(m_mask, lines[index], start, kFont, kFontScale, cv::Scalar(255), kThickness, cv::LINE_8);
    }
}

/// Writes one channel: every `step`-th byte of a plane from `offset` on. A colour sample takes the upper left of the
/// pixels it covers.
void TextBox::drawPlane(AVFrame& picture, int plane, int widthShift, int heightShift, int step, int offset,
                        std::uint8_t red, std::uint8_t white) const
{
    const int columnStep = 1 << widthShift;
    const int rowStep = 1 << heightShift;
    for (int row = 0; row < m_area.height; row += rowStep) {
        const std::uint8_t* mask = m_mask.ptr<std::uint8_t>(row);
        std::uint8_t* line = picture.data[plane] +
                             static_cast<std::ptrdiff_t>((m_area.y + row) >> heightShift) * picture.linesize[plane] +
                             static_cast<std::ptrdiff_t>(m_area.x >> widthShift) * step + offset;
        if (step == 1 && columnStep == 1) {
            for (int column = 0; column < m_area.width; ++column)
                line[column] = mask[column] ? white : red;
            continue;
        }
        for (int column = 0; column < m_area.width; column += columnStep, line += step)
            *line = mask[column] ? white : red;
    }
}

void TextBox::draw(AVFrame& picture) const
{
    if (picture.format == AV_PIX_FMT_RGB24 || picture.format == AV_PIX_FMT_BGR24) {
        for (int channel = 0; channel < 3; ++channel) {
            const int offset = picture.format == AV_PIX_FMT_RGB24 ? channel : 2 - channel;
            drawPlane(picture, 0, 0, 0, 3, offset, kRgb.red[channel], kRgb.white[channel]);
        }
        return;
    }
    const Colors& colors = isFullRange(picture) ? kFullYuv : kLimitedYuv;
    drawPlane(picture, 0, 0, 0, 1, 0, colors.red[0], colors.white[0]);
    int widthShift = 0;
    int heightShift = 0;
    av_pix_fmt_get_chroma_sub_sample(static_cast<AVPixelFormat>(picture.format), &widthShift, &heightShift);
    const bool interleaved = picture.format == AV_PIX_FMT_NV12 || picture.format == AV_PIX_FMT_NV21;
    if (picture.format == AV_PIX_FMT_GRAY8)
        return;
    for (int channel = 1; channel <= 2; ++channel) {
        const int offset = picture.format == AV_PIX_FMT_NV21 ? 2 - channel : channel - 1;
        drawPlane(picture, interleaved ? 1 : channel, widthShift, heightShift, interleaved ? 2 : 1,
                  interleaved ? offset : 0, colors.red[channel], colors.white[channel]);
    }
}
