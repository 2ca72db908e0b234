// debug_commands.h: what callers of the registered debug commands hand to them.
#pragma once

#include "media/host_controller_reset.h"

#include <atomic>
#include <functional>
#include <string>

/// First argument of "TestAv"; null: the file "test.mp4" of the current directory. The second argument is unused. The
/// command plays the source in a loop and does not return while it plays: 0 once `stop` is set, -1 when playing fails.
struct TestAvArguments
{
    std::string url;
    std::atomic<bool>* stop = nullptr; ///< Null: plays for good.
};

/// First argument of "Reset"; null or without `paths`: no controller is found. The second argument is unused. The
/// command asks the application to quit once it has sent its request: 0 when that succeeded, else -1.
struct ResetArguments
{
    std::wstring kind; ///< "vehci", "vhci" or "vxhci"; empty: the first of any kind.
    InterfacePathFinder paths;
    std::function<bool(const std::wstring& path)> send = sendHostControllerReset;
};
