// text_box.h: lines of white text on a red box, drawn into a picture of any supported pixel format.
#pragma once

#include "media/ffmpeg_handles.h"

#include <opencv2/core.hpp>

#include <array>
#include <string>
#include <vector>

/// Only the pixels of the box are touched. Characters are drawn by OpenCV once and composed from then on, which gives
/// what OpenCV gives for the whole line. Text is ASCII; other bytes show as question marks.
class TextBox
{
public:
    /// Pixel formats that draw() knows: 8-bit YUV with planes of any halving, NV12, NV21, RGB24, BGR24 and grey.
    static bool supports(int format);

    /// Lays the lines out for a picture of this size; the box starts at (x, y), moved so that it stays inside, and is
    /// cut where it is larger than the picture.
    void layOut(const std::vector<std::string>& lines, int x, int y, int pictureWidth, int pictureHeight);

    /// Draws into a writable picture of a supported format and of the size that was laid out for.
    void draw(AVFrame& picture) const;

    /// Where the box is, in pixels; even in position and size except at the picture's odd edges.
    cv::Rect area() const { return m_area; }

    /// 255 where text is, of the box's size.
    const cv::Mat& mask() const { return m_mask; }

private:
    /// One character at the font's size: its pixels around the pen, and how far the pen moves.
    struct Glyph
    {
        cv::Mat pixels;
        int advance = 0;
    };

    void measureFont();
    const Glyph& glyph(char character);
    int lineWidth(const std::string& line);
    void drawLine(const std::string& line, int baseline);
    void drawPlane(AVFrame& picture, int plane, int widthShift, int heightShift, int step, int offset, std::uint8_t red,
                   std::uint8_t white) const;

    int m_textHeight = 0; ///< Pixels above and below the line that text stands on; the same for every text.
    int m_baseline = 0;
    std::array<Glyph, 128> m_glyphs; ///< Made when first needed.
    cv::Mat m_storage;               ///< Grows to the largest box so far.
    cv::Mat m_mask;                  ///< 255 where text is.
    cv::Rect m_area;
};
