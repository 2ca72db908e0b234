#include "devices/process_table.h"

#include <iterator>
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

/// Path of one of the system's own programs: by its name alone a file beside this program would be started instead.
QString systemProgram(const QString& fileName)
{
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, static_cast<UINT>(std::size(folder)));
    return QString::fromWCharArray(folder, static_cast<int>(length)) + QLatin1Char('\\') + fileName;
}

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
    return {systemProgram(QStringLiteral("taskkill.exe")),
            {QStringLiteral("/PID"), QString::number(processId), QStringLiteral("/F")}};
}
