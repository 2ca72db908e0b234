#include "runtime/local_peer.h"

#include "runtime/process_user_win.h"

#include <windows.h>

namespace {

const LocalPeer kNobodyKnown{{}, PeerOwner::Unknown, QStringLiteral("somebody unknown")};

/// Whether another machine's program is the client. Asked of the system by name, since Wine does not have the function;
/// it says of a client of this machine that the pipe is local.
bool isRemote(HANDLE pipe)
{
    using Function = BOOL(WINAPI*)(HANDLE, LPWSTR, ULONG);
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto function = reinterpret_cast<Function>(
        reinterpret_cast<void (*)()>(GetProcAddress(kernel, "GetNamedPipeClientComputerNameW")));
    wchar_t name[256] = {};
    return function && (function(pipe, name, sizeof name) || GetLastError() != ERROR_PIPE_LOCAL);
}

} // namespace

LocalPeer localServer(qintptr socketDescriptor)
{
    ULONG processId = 0;
    if (!GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(socketDescriptor), &processId))
        return kNobodyKnown;
    return userOfProcess(processId);
}

LocalPeer localClient(qintptr socketDescriptor)
{
    const auto pipe = reinterpret_cast<HANDLE>(socketDescriptor);
    if (isRemote(pipe)) // its process id is one of the other machine
        return {{}, PeerOwner::Other, QStringLiteral("somebody on another machine")};
    ULONG processId = 0;
    if (!GetNamedPipeClientProcessId(pipe, &processId))
        return kNobodyKnown;
    return userOfProcess(processId);
}

QString claimServerName(const QString& name)
{
    // Nothing is left of a pipe whose process has ended. One that is there has a server, which Qt would join.
    const QString path = QStringLiteral("\\\\.\\pipe\\") + name;
    const auto open = [&path] {
        return CreateFileW(reinterpret_cast<const wchar_t*>(path.utf16()), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                           SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr);
    };
    HANDLE pipe = open();
    constexpr int kMostWaits = 50; // of 10 ms: the last connections of an earlier server of ours may be ending
    for (int wait = 0; pipe == INVALID_HANDLE_VALUE && GetLastError() == ERROR_PIPE_BUSY && wait < kMostWaits; ++wait) {
        Sleep(10);
        pipe = open();
    }
    if (pipe == INVALID_HANDLE_VALUE) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return {};
        return QStringLiteral("another program serves %1, and admits nobody").arg(path);
    }
    const LocalPeer server = localServer(reinterpret_cast<qintptr>(pipe));
    CloseHandle(pipe);
    return QStringLiteral("process %1 of %2 serves %3").arg(server.processId.value_or(0)).arg(server.user, path);
}

void removeLeftSocket(const QString&)
{
    // Nothing is left of a pipe whose process has ended.
}
