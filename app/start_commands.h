// start_commands.h: devices that a script starts, without a window.
#pragma once

#include "app/command_line.h"
#include "app/script_commands.h"
#include "devices/device_launcher.h"

/// Starts the device and prints it as JSON. Blocks up to 30 s, and for as long as the request waits for a host. Exit
/// code 3 when it does not come up, or ends while it is waited for; 4 when no host has configured it in time, in which
/// case it is printed and stays.
ScriptResult startDevice(const StartRequest& request, const DeviceLauncher& launcher,
                         const DeviceRecordManager& records);

/// The same for the devices of a lab, printed as an array; when one does not come up, none is left. Refused with exit
/// code 2 while devices of the lab run. The environment of this program names the lab from now on.
ScriptResult startLab(const LabRequest& request, const DeviceLauncher& launcher, const DeviceRecordManager& records);

/// Ends the devices of that lab; exit code 2 when there is none.
ScriptResult deleteLab(const QString& lab, const DeviceRecordManager& records);
