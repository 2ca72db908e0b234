#include "media/control/line_splitter.h"

#include <utility>

void LineSplitter::append(const QString& text)
{
    m_buffer.remove(0, m_start);
    m_start = 0;
    m_buffer += text;
    m_mayHoldPair = true;
    m_mayHoldFeed = true;
}

LineSplitter::Line LineSplitter::cut(int position, int terminatorLength)
{
    const int length = position - m_start;
    Line line{{}, std::exchange(m_isTooLong, false) || length > kMaxLineLength};
    if (!line.isTooLong)
        line.text = m_buffer.mid(m_start, length);
    m_start = position + terminatorLength;
    return line;
}

std::optional<LineSplitter::Line> LineSplitter::next()
{
    // Cutting at the front brings nothing new about, so one search in vain serves all lines of this text.
    if (m_mayHoldPair) {
        const int pair = m_buffer.indexOf(QLatin1String("\r\n"), m_start);
        if (pair >= 0)
            return cut(pair, 2);
        m_mayHoldPair = false;
    }
    if (m_mayHoldFeed) {
        const int feed = m_buffer.indexOf(QLatin1Char('\n'), m_start);
        if (feed >= 0)
            return cut(feed, 1);
        m_mayHoldFeed = false;
    }
    const int carriageReturn = m_buffer.indexOf(QLatin1Char('\r'), m_start);
    if (carriageReturn >= 0)
        return cut(carriageReturn, 1);
    if (pending() > kMaxLineLength) {
        m_buffer.truncate(m_start);
        m_isTooLong = true;
    }
    return std::nullopt;
}

void LineSplitter::clear()
{
    m_buffer.clear();
    m_start = 0;
    m_isTooLong = false;
    m_mayHoldPair = false;
    m_mayHoldFeed = false;
}
