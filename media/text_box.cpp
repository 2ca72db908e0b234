#include "media/text_box.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
constexpr double kFontScale = 1.0;
constexpr int kThickness = 2; // Pixels, as the margins.
constexpr int kTextMargin = 10;
constexpr int kLineGap = 5;
constexpr int kAscent = 28; // Room for a character's pixels above, below and beside the pen.
constexpr int kDescent = 14;
constexpr int kOverhang = 6;

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

/// Asking OpenCV takes memory, so it is asked once.
void TextBox::measureFont()
{
    if (m_textHeight == 0)
        m_textHeight = cv::getTextSize("0", kFont, kFontScale, kThickness, &m_baseline).height;
}

const TextBox::Glyph& TextBox::glyph(char character)
{
    const auto code = static_cast<unsigned char>(character);
    Glyph& glyph = m_glyphs[code < m_glyphs.size() ? code : '?'];
    if (glyph.pixels.empty()) {
        const std::string text(1, code < m_glyphs.size() ? character : '?');
        // A line of one character is as wide as the pen moves and the pen is thick.
        glyph.advance = cv::getTextSize(text, kFont, kFontScale, kThickness, nullptr).width - kThickness;
        glyph.pixels = cv::Mat::zeros(kAscent + kDescent, glyph.advance + 2 * kOverhang, CV_8UC1);
        cv::putText(glyph.pixels, text, cv::Point(kOverhang, kAscent), kFont, kFontScale, cv::Scalar(255), kThickness,
                    cv::LINE_8);
    }
    return glyph;
}

int TextBox::lineWidth(const std::string& line)
{
    int width = kThickness;
    for (const char character : line)
        width += glyph(character).advance;
    return width;
}

void TextBox::drawLine(const std::string& line, int baseline)
{
    const cv::Rect all(0, 0, m_mask.cols, m_mask.rows);
    int pen = kTextMargin;
    for (const char character : line) {
        const Glyph& drawn = glyph(character);
        const cv::Rect place(pen - kOverhang, baseline - kAscent, drawn.pixels.cols, drawn.pixels.rows);
        const cv::Rect visible = place & all;
        for (int row = visible.y; row < visible.y + visible.height; ++row) {
            const std::uint8_t* from = drawn.pixels.ptr<std::uint8_t>(row - place.y) + (visible.x - place.x);
            std::uint8_t* to = m_mask.ptr<std::uint8_t>(row) + visible.x;
            const int count = visible.width;
            for (int column = 0; column < count; ++column)
                to[column] |= from[column];
        }
        pen += drawn.advance;
    }
}

void TextBox::layOut(const std::vector<std::string>& lines, int x, int y, int pictureWidth, int pictureHeight)
{
    measureFont();
    int widest = 0;
    for (const std::string& line : lines)
        widest = std::max(widest, lineWidth(line));
    const int lineStep = m_textHeight + kLineGap;
    const int width = roundUpToEven(widest + 2 * kTextMargin);
    const int height = roundUpToEven(static_cast<int>(lines.size()) * lineStep + m_baseline);

    m_area.x = startInside(x, width, pictureWidth);
    m_area.y = startInside(y, height, pictureHeight);
    m_area.width = std::min(width, pictureWidth - m_area.x);
    m_area.height = std::min(height, pictureHeight - m_area.y);
    if (m_storage.cols < m_area.width || m_storage.rows < m_area.height)
        m_storage.create(std::max(m_storage.rows, m_area.height), std::max(m_storage.cols, m_area.width), CV_8UC1);
    m_mask = m_storage(cv::Rect(0, 0, m_area.width, m_area.height));
    for (int row = 0; row < m_mask.rows; ++row)
        std::memset(m_mask.ptr<std::uint8_t>(row), 0, static_cast<std::size_t>(m_mask.cols));
    for (std::size_t index = 0; index < lines.size(); ++index)
        drawLine(lines[index], lineStep * static_cast<int>(index + 1));
}

/// Writes one channel: every `step`-th byte of a plane from `offset` on. A colour sample takes the upper left of the
/// pixels it covers.
void TextBox::drawPlane(AVFrame& picture, int plane, int widthShift, int heightShift, int step, int offset,
                        std::uint8_t red, std::uint8_t white) const
{
    const int columnStep = 1 << widthShift;
    const int rowStep = 1 << heightShift;
    const int samples = (m_area.width + columnStep - 1) >> widthShift;
    for (int row = 0; row < m_area.height; row += rowStep) {
        const std::uint8_t* mask = m_mask.ptr<std::uint8_t>(row);
        std::uint8_t* line = picture.data[plane] +
                             static_cast<std::ptrdiff_t>((m_area.y + row) >> heightShift) * picture.linesize[plane] +
                             static_cast<std::ptrdiff_t>(m_area.x >> widthShift) * step + offset;
        // The mask is 0 or 255: red where nothing is drawn, white elsewhere. The two common cases by themselves can
        // be done many bytes at a time.
        const auto difference = static_cast<std::uint8_t>(red ^ white);
        if (step == 1 && columnStep == 1) {
            for (int column = 0; column < samples; ++column)
                line[column] = static_cast<std::uint8_t>(red ^ (mask[column] & difference));
        } else if (step == 1 && columnStep == 2) {
            for (int column = 0; column < samples; ++column)
                line[column] = static_cast<std::uint8_t>(red ^ (mask[2 * column] & difference));
        } else {
            for (int column = 0; column < samples; ++column)
                line[column * step] = static_cast<std::uint8_t>(red ^ (mask[column * columnStep] & difference));
        }
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
