// process_user_win.h: the user who runs a process, on Windows.
#pragma once

#include "runtime/local_peer.h"

/// Owner and user of a running process; unknown for one that cannot be looked at.
LocalPeer userOfProcess(unsigned long processId);
