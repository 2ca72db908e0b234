#include "media/line_splitter.h"

void LineSplitter::append(const QString& text)
{
    m_buffer.remove(0, m_start);
    m_start = 0;
    m_buffer += text;
    m_mayHoldPair = true;
    m_mayHoldFeed = true;
}

QString LineSplitter::cut(int position, int terminatorLength)
{
    const QString line = m_buffer.mid(m_start, position - m_start);
    m_start = position + terminatorLength;
    return line;
}

std::optional<QString> LineSplitter::next()
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
    return std::nullopt;
}

bool LineSplitter::limitPending()
{
    if (pending() <= kMaxLineLength)
        return false;
    m_buffer.truncate(m_start + kMaxLineLength);
    return true;
}

void LineSplitter::clear()
{
    m_buffer.clear();
    m_start = 0;
    m_mayHoldPair = false;
    m_mayHoldFeed = false;
}
