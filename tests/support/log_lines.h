// log_lines.h: what a test makes the program log.
#pragma once

#include <QLoggingCategory>
#include <QStringList>

/// Keeps the lines of that level and above that are logged while it lives. One at a time.
class LogLines
{
public:
    enum class Least
    {
        Info,
        Warning
    };

    explicit LogLines(Least least = Least::Info) : m_previous(qInstallMessageHandler(take))
    {
        s_lines.clear();
        if (least == Least::Info)
            QLoggingCategory::setFilterRules(QStringLiteral("plugboard.*.info=true"));
    }
    ~LogLines()
    {
        QLoggingCategory::setFilterRules({});
        qInstallMessageHandler(m_previous);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    QStringList lines() const { return s_lines; }

    /// One after the other, a line feed after each.
    QString text() const { return s_lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

private:
    static void take(QtMsgType, const QMessageLogContext&, const QString& line) { s_lines << line.trimmed(); }

    inline static QStringList s_lines;
    QtMessageHandler m_previous;
};
