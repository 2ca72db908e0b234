#include "devices/process_table.h"

#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct CloseDirectory
{
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

/// What the line "PID (NAME) STATE ..." says of a process that runs: its program's name. It may hold any character, so
/// the state follows the last parenthesis.
std::optional<QString> programIn(std::string_view stat)
{
    const std::size_t nameStart = stat.find('(');
    const std::size_t nameEnd = stat.rfind(')');
    if (nameStart == std::string_view::npos || nameEnd == std::string_view::npos || nameEnd + 2 >= stat.size())
        return std::nullopt;
    const char state = stat[nameEnd + 2];
    if (state == 'Z' || state == 'X')
        return std::nullopt;
    const std::string_view name = stat.substr(nameStart + 1, nameEnd - nameStart - 1);
    return QString::fromLocal8Bit(name.data(), static_cast<int>(name.size()));
}

/// The program of a process that runs, empty when it cannot be told; nothing for one that does not run. `folder` is the
/// process's own below `proc`.
std::optional<QString> runningProgram(int proc, const char* folder)
{
    const int file = openat(proc, (std::string(folder) + "/stat").c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) // a lack of descriptors, say, does not end the process
        return errno == ENOENT || errno == ESRCH ? std::nullopt : std::optional<QString>(QString());
    char stat[512]; // enough to reach behind the name, which has at most 64 bytes
    const ssize_t size = read(file, stat, sizeof stat);
    close(file);
    return size > 0 ? programIn({stat, static_cast<std::size_t>(size)}) : std::nullopt;
}

} // namespace

ProcessSnapshot ProcessSnapshot::take()
{
    const Directory proc(opendir("/proc"));
    if (!proc)
        return failed();
    std::vector<Process> processes;
    while (const dirent* entry = readdir(proc.get())) {
        const std::string_view name = entry->d_name;
        std::uint32_t id = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (error != std::errc() || end != name.data() + name.size())
            continue;
        if (auto program = runningProgram(dirfd(proc.get()), entry->d_name))
            processes.push_back({id, *std::move(program)});
    }
    return of(std::move(processes));
}

KillCommand killCommand(std::int64_t processId)
{
    return {QStringLiteral("kill"), {QStringLiteral("-KILL"), QString::number(processId)}};
}
