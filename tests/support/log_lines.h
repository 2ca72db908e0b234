// log_lines.h: what a test makes the program log.
#pragma once

#include <QLoggingCategory>
#include <QStringList>

/// Keeps the lines, from info on, that are logged while it lives. One at a time.
class LogLines
{
public:
    LogLines() : m_previous(qInstallMessageHandler(take))
    {
        s_lines.clear();
        QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*.info=true"));
    }
    ~LogLines()
    {
        QLoggingCategory::setFilterRules({});
        qInstallMessageHandler(m_previous);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// One after the other, a line feed after each.
    QString text() const { return s_lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

private:
    static void take(QtMsgType, const QMessageLogContext&, const QString& line) { s_lines << line.trimmed(); }

    inline static QStringList s_lines;
    QtMessageHandler m_previous;
};
