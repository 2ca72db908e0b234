#include "capture/channel/log.h"

Q_LOGGING_CATEGORY(captureLog, "plugboard.capture")

bool LimitedWarnings::admits()
{
    constexpr int kMost = 50;
    constexpr qint64 kSpan = 10'000; // ms
    if (!m_since.isValid() || m_since.hasExpired(kSpan)) {
        if (m_count > kMost)
            qCWarning(captureLog) << m_count - kMost << "more warnings were left out";
        m_since.start();
        m_count = 0;
    }
    return ++m_count <= kMost;
}

QString forLog(const QString& text)
{
    constexpr int kLongest = 200; // characters
    return text.size() <= kLongest ? text : text.left(kLongest) + QStringLiteral("...");
}
