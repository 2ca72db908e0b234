// extras.h: options of the console program beside those of the engine.
#pragma once

#include "driver/argument_vectors.h"

namespace driver {

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
