#include "runtime/local_peer.h"

#include <windows.h>

std::optional<qint64> localServerProcess(qintptr socketDescriptor)
{
    ULONG processId = 0;
    if (!GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socketDescriptor), &processId) || processId == 0)
        return std::nullopt;
    return static_cast<qint64>(processId);
}
