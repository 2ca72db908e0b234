#include "devices/process_table.h"

#include <memory>
#include <type_traits>

#include <windows.h>

#include <tlhelp32.h>

namespace {

struct CloseSnapshot
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using SnapshotHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseSnapshot>;

} // namespace

ProcessSnapshot ProcessSnapshot::take()
{
    const HANDLE handle = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (handle == INVALID_HANDLE_VALUE)
        return failed();
    const SnapshotHandle owner(handle);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    if (!Process32FirstW(handle, &entry))
        return failed();
    std::vector<Process> processes;
    do
        processes.push_back({entry.th32ProcessID, QString::fromWCharArray(entry.szExeFile)});
    while (Process32NextW(handle, &entry));
    return of(std::move(processes));
}

KillCommand killCommand(std::int64_t processId)
{
    return {QStringLiteral("taskkill"), {QStringLiteral("/PID"), QString::number(processId), QStringLiteral("/F")}};
}
