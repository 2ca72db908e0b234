// options.h: the options in front of a command.
#pragma once

#include "driver/argument_vectors.h"
#include "driver/platform_types.h"

namespace driver {

/// What stands before the command, and where the command stands.
struct Options
{
    MachineName machine;
    bool reboot = false;
    bool force = false;
    std::size_t command = 1; ///< position in the argument vector; its size when no command is left
};

/// Reads `arguments` from position 1 (0 is the program) up to the first that is no option. An option that is not known,
/// or names no machine, is taken for the command.
Options scanOptions(Arguments arguments);

/// Options of the console program beside those.
struct Extras
{
    bool json = false;    ///< print JSON
    bool strict = false;  ///< anything that failed makes the command fail
    bool problem = false; ///< only devices with a problem, and its name
};

/// Takes "--json", "--strict" and "--problem" out of what stands before the command: from element 1 to the first that
/// is no option.
Extras takeExtras(ArgumentVector& arguments);

} // namespace driver
