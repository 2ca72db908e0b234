#include "driver/display/problem_names.h"

#include <iterator>

namespace driver {

namespace {

constexpr const wchar_t* kNames[] = {
    // from 1 on
    L"NOT_CONFIGURED",
    L"DEVLOADER_FAILED",
    L"OUT_OF_MEMORY",
    L"ENTRY_IS_WRONG_TYPE",
    L"LACKED_ARBITRATOR",
    L"BOOT_CONFIG_CONFLICT",
    L"FAILED_FILTER",
    L"DEVLOADER_NOT_FOUND",
    L"INVALID_DATA",
    L"FAILED_START",
    L"LIAR",
    L"NORMAL_CONFLICT",
    L"NOT_VERIFIED",
    L"NEED_RESTART",
    L"REENUMERATION",
    L"PARTIAL_LOG_CONF",
    L"UNKNOWN_RESOURCE",
    L"REINSTALL",
    L"REGISTRY",
    L"VXDLDR",
    L"WILL_BE_REMOVED",
    L"DISABLED",
    L"DEVLOADER_NOT_READY",
    L"DEVICE_NOT_THERE",
    L"MOVED",
    L"TOO_EARLY",
    L"NO_VALID_LOG_CONF",
    L"FAILED_INSTALL",
    L"HARDWARE_DISABLED",
    L"CANT_SHARE_IRQ",
    L"FAILED_ADD",
    L"DISABLED_SERVICE",
    L"TRANSLATION_FAILED",
    L"NO_SOFTCONFIG",
    L"BIOS_TABLE",
    L"IRQ_TRANSLATION_FAILED",
    L"FAILED_DRIVER_ENTRY",
    L"DRIVER_FAILED_PRIOR_UNLOAD",
    L"DRIVER_FAILED_LOAD",
    L"DRIVER_SERVICE_KEY_INVALID",
    L"LEGACY_SERVICE_NO_DEVICES",
    L"DUPLICATE_DEVICE",
    L"FAILED_POST_START",
    L"HALTED",
    L"PHANTOM",
    L"SYSTEM_SHUTDOWN",
    L"HELD_FOR_EJECT",
    L"DRIVER_BLOCKED",
    L"REGISTRY_TOO_LARGE",
    L"SETPROPERTIES_FAILED",
    L"WAITING_ON_DEPENDENCY",
    L"UNSIGNED_DRIVER",
    L"USED_BY_DEBUGGER",
    L"DEVICE_RESET",
    L"CONSOLE_LOCKED",
    L"NEED_CLASS_CONFIG",
    L"GUEST_ASSIGNMENT_FAILED",
};

} // namespace

std::wstring problemName(std::uint32_t problem)
{
    const bool known = problem >= 1 && problem <= std::size(kNames);
    return L"CM_PROB_" + (known ? kNames[problem - 1] : std::to_wstring(problem));
}

} // namespace driver
