// script_commands.h: what the program does for scripts, without a window.
#pragma once

#include "devices/device_record_manager.h"

#include <QString>

#include <functional>
#include <optional>
#include <vector>

/// Exit codes.
constexpr int kDone = 0;
constexpr int kFailed = 2;   ///< a mistake in the arguments, or it could not be done
constexpr int kNoDevice = 3; ///< the device did not come up, or ended
constexpr int kTimeOver = 4; ///< no host has configured the device; it stays

/// What a script command prints and exits with.
struct ScriptResult
{
    int exitCode = 0;
    QString output; ///< for standard output
    QString error;  ///< for standard error
};

/// The devices that a table refresh would show, one a line with tabs between its cells, or a JSON array. What
/// would act on a terminal is '?' in the one and an escape in the other.
ScriptResult listDevices(const DeviceRecordManager& records, bool json);

/// Ends the device with that process id and removes its record. A process without a record is left alone, and so is
/// one that does not run the device program: a record can outlive its process, whose id another program then gets.
ScriptResult deleteDevice(const DeviceRecordManager& records, qint64 processId,
                          const std::function<KillCommand(qint64)>& toolFor = killCommand);

/// The same of several, also after one that could not be ended.
ScriptResult deleteDevices(const DeviceRecordManager& records, const std::vector<qint64>& processIds,
                           const std::function<KillCommand(qint64)>& toolFor = killCommand);

/// The same of every device that runs. None is no failure.
ScriptResult deleteAllDevices(const DeviceRecordManager& records,
                              const std::function<KillCommand(qint64)>& toolFor = killCommand);

/// Sends the command to the device with that process id and prints its answer, an "ERROR: ..." as an error.
ScriptResult sendCommand(qint64 processId, const QString& command);

/// Takes commands from `nextLine` until it gives none, and sends each but the empty ones once the one before was
/// answered. `print` gets each answer as it comes; the first "ERROR: ..." ends it, with the number of its line.
ScriptResult sendCommands(qint64 processId, const std::function<std::optional<QString>()>& nextLine,
                          const std::function<bool(const QString&)>& print);
