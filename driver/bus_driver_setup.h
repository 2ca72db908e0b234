// bus_driver_setup.h: what start-up asks of the engine to have the virtual bus driver, without any window.
#pragma once

#include "driver/argument_vectors.h"
#include "driver/device_platform.h"
#include "driver/output.h"
#include "driver/result.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace driver {

/// All calls block.
class BusDriverSetup
{
public:
    using Sleep = std::function<void(std::chrono::milliseconds)>;

    /// `applicationDirectory` in the form with forward slashes; it is used as it comes. The rest must outlive this.
    BusDriverSetup(DevicePlatform& platform, std::wstring applicationDirectory, Output& output = systemOutput(),
                   Sleep sleep = sleepOfThread);

    /// Whether any present device exposes the host controller interface.
    bool installed() const;

    /// The two commands, in order: add the package "vusbbus.inf" of the application directory, create the bus device.
    /// Whole argument vectors, the program's name included.
    std::vector<ArgumentVector> commands() const;

    /// Runs commands(), the second one whatever became of the first, and gives back the higher result. That is for
    /// logs; only installed() tells whether it worked.
    ResultCode install();

    /// Checks three times, and sleeps 1000 ms after each check that fails, the last one too. Whether one succeeded.
    bool waitUntilInstalled();

    /// The package's path as the commands get it: the directory, one backslash, the file name.
    std::wstring infPath() const;

    static void sleepOfThread(std::chrono::milliseconds time);

private:
    DevicePlatform& m_platform;
    std::wstring m_applicationDirectory;
    Output& m_output;
    Sleep m_sleep;
};

} // namespace driver
