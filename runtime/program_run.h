// program_run.h: what every program of ours does around its work.
#pragma once

#include "runtime/log_session.h"

/// From its making on, new files are for the user alone. While it lives, the program logs to userFolder() + "/logs" and
/// leaves a crash note there. A note of an earlier run is told of by a line in the log. Make one when the application
/// object exists.
class ProgramRun
{
public:
    /// `rules` are those of logRules().
    ProgramRun(const QString& program, const QString& version, const QString& rules);
    ~ProgramRun();

private:
    LogSession m_log;
};
