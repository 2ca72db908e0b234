// line_splitter.h: cuts received text into lines.
#pragma once

#include <QString>

#include <optional>

/// A line ends at the first CR LF of the whole buffer; when there is none, at the first lone LF; failing that, at the
/// first CR. Text that no terminator follows is kept up to kMaxLineLength characters. A longer line is lost whole, up
/// to its terminator.
class LineSplitter
{
public:
    static constexpr int kMaxLineLength = 64 * 1024;

    struct Line
    {
        QString text;
        bool isTooLong = false; ///< There is no text then.

        bool operator==(const Line&) const = default;
    };

    /// Adds text; take all lines with next() before the following append().
    void append(const QString& text);

    /// The next line without its terminator, if one is complete.
    std::optional<Line> next();

    /// Characters waiting for a terminator.
    int pending() const { return m_buffer.size() - m_start; }

    void clear();

private:
    Line cut(int position, int terminatorLength);

    QString m_buffer;
    int m_start = 0;
    bool m_isTooLong = false;   ///< The beginning of the pending line is lost.
    bool m_mayHoldPair = false; ///< A CR LF may still be in the buffer.
    bool m_mayHoldFeed = false; ///< Likewise a lone LF.
};
