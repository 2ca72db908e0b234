// engine.h: runs one command of the driver engine from an argument vector.
#pragma once

#include "driver/argument_vectors.h"
#include "driver/device_platform.h"
#include "driver/options.h"
#include "driver/output.h"
#include "driver/result.h"

#include <span>
#include <string>

namespace driver {

/// Synchronous, keeps nothing between runs and throws nothing. Not for use by two threads at once.
class DriverEngine
{
public:
    /// Both must outlive the engine.
    explicit DriverEngine(DevicePlatform& platform, Output& output = systemOutput(), Extras extras = {});

    /// The vector is that of a console program: element 0 is the program's path, then come options, the command and its
    /// arguments. Results are those of result.h.
    ResultCode run(std::span<const std::wstring> arguments);

    /// Several vectors in turn, whatever becomes of each. The highest of their results.
    ResultCode runEach(std::span<const ArgumentVector> vectors);

private:
    ResultCode dispatch(std::span<const std::wstring> arguments);

    DevicePlatform& m_platform;
    Output& m_output;
    Extras m_extras;
};

} // namespace driver
