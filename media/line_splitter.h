// line_splitter.h: cuts received text into lines.
#pragma once

#include <QString>

#include <optional>

/// A line ends at the first CR LF of the whole buffer; when there is none, at the first lone LF; failing that, at the
/// first CR. Text that no terminator follows is kept up to kMaxLineLength characters; what comes beyond is dropped.
class LineSplitter
{
public:
    static constexpr int kMaxLineLength = 64 * 1024;

    /// Adds text; take all lines with next() before the following append().
    void append(const QString& text);

    /// The next line without its terminator, if one is complete.
    std::optional<QString> next();

    /// Characters waiting for a terminator.
    int pending() const { return m_buffer.size() - m_start; }

    /// Drops what is beyond the limit once next() has nothing more; true when something was dropped.
    bool limitPending();

    void clear();

private:
    QString cut(int position, int terminatorLength);

    QString m_buffer;
    int m_start = 0;
    bool m_mayHoldPair = false; ///< A CR LF may still be in the buffer.
    bool m_mayHoldFeed = false; ///< Likewise a lone LF.
};
