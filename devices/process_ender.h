// process_ender.h: runs the system's tool that ends a process.
#pragma once

#include "devices/process_table.h"

struct EndProcessResult
{
    bool finished = false; ///< the tool itself ended in time
    int exitCode = -1;     ///< the tool's, 0 for success; only when finished
};

/// Runs the tool and waits up to 5 s for it; blocks the calling thread.
EndProcessResult endProcess(const KillCommand& tool);
