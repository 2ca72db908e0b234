// file_run.h: runs a source once through a chain, to a file or to nothing.
#pragma once

#include "tools/media/media_options.h"

/// Prints progress on the standard error stream and, for a measurement, one JSON line on the standard output at the
/// end. Returns the program's exit code: 0, 1 when the source or the file failed, 130 when the user stopped it.
int runToFile(const MediaOptions& options);
