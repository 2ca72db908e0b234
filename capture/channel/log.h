// log.h: the log category of capture, and a limit for what a device process can make it hold.
#pragma once

#include <QDebug>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QString>

Q_DECLARE_LOGGING_CATEGORY(captureLog)

/// Warnings that bytes from outside give rise to: at most 50 in ten seconds, then how many were left out.
class LimitedWarnings
{
public:
    template<typename... Parts>
    void warn(const Parts&... parts)
    {
        if (!admits())
            return;
        QDebug line = QMessageLogger().warning(captureLog());
        (line << ... << parts);
    }

private:
    bool admits();

    QElapsedTimer m_since;
    int m_count = 0;
};

/// The beginning of a text from outside, for a line of the log.
QString forLog(const QString& text);
