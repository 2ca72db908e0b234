// device_commands.h: commands to a running device process, one line each way.
#pragma once

#include <QString>

/// Name of the local server on which that device process takes commands.
QString deviceCommandServer(qint64 processId);

/// What became of a command.
struct CommandOutcome
{
    bool done = false;
    QString line; ///< the device's answer, "OK: ..." or "ERROR: ..."; or an "ERROR: ..." that says why there is none
};

/// Sends one line and waits for the answer, at most 30 s. Blocks the calling thread. A command with a line end in it is
/// refused.
CommandOutcome sendDeviceCommand(qint64 processId, const QString& command);
