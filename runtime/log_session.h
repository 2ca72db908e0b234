// log_session.h: takes what the program logs into its log file.
#pragma once

#include "runtime/log_file.h"

#include <QElapsedTimer>
#include <QtGlobal>

#include <mutex>

/// While it lives, every message of Qt's logging goes, as one line, to the log file (see LogFile) and, from warnings
/// on, to the handler that was there before (standard error). A line is "TIME LEVEL CATEGORY [PID] TEXT" in local time,
/// with control characters of the text escaped and secrets left out. A log that cannot be written stops nothing. Of ten
/// seconds at most kMostLines are kept, then a line says how many were left out. One at a time; messages may come from
/// any thread.
class LogSession
{
public:
    static constexpr int kMostLines = 1000; ///< of ten seconds

    /// `rules` are those of logRules().
    LogSession(const QString& folder, const QString& program, const QString& rules);
    ~LogSession();
    LogSession(const LogSession&) = delete;
    LogSession& operator=(const LogSession&) = delete;

    QString path() const { return m_file.path(); }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);
    /// False when it was left out.
    bool take(QtMsgType type, const char* category, const QString& text);
    void write(QtMsgType type, const char* category, const QString& text);
    void tellLeftOut();

    LogFile m_file;
    QtMessageHandler m_before = nullptr;
    QElapsedTimer m_since; ///< the first of m_lines
    int m_lines = 0;
    int m_leftOut = 0;
};
