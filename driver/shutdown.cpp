#include "driver/shutdown.h"

namespace driver {

namespace {

constexpr const wchar_t* kShutdownPrivilege = L"SeShutdownPrivilege";

Status enableShutdownPrivilege(Machine& machine)
{
    const auto token = machine.openProcessToken();
    if (!token)
        return Failure{token.error()};
    const auto privilege = machine.lookupPrivilege(kShutdownPrivilege);
    if (!privilege)
        return Failure{privilege.error()};
    return (*token)->enablePrivilege(*privilege);
}

} // namespace

bool requestReboot(Machine& machine, Causes& causes)
{
    if (const Status enabled = enableShutdownPrivilege(machine); !enabled)
        causes.report(enabled.error(), kShutdownPrivilege);
    const Status requested = machine.requestShutdown({});
    if (!requested)
        causes.report(requested.error());
    return static_cast<bool>(requested);
}

} // namespace driver
