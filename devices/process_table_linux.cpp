#include "devices/process_table.h"

#include <cerrno>
#include <charconv>
#include <memory>
#include <string>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct CloseDirectory
{
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

/// From the line "PID (NAME) STATE ..."; the name may hold any character, so the state follows the last parenthesis.
bool stateRuns(std::string_view stat)
{
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string_view::npos || nameEnd + 2 >= stat.size())
        return false;
    const char state = stat[nameEnd + 2];
    return state != 'Z' && state != 'X';
}

/// `name` is the process's folder below `proc`.
bool runs(int proc, const char* name)
{
    const int file = openat(proc, (std::string(name) + "/stat").c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return errno != ENOENT && errno != ESRCH; // a lack of descriptors, say, does not end the process
    char stat[512];                               // enough to reach behind the name, which has at most 64 bytes
    const ssize_t size = read(file, stat, sizeof stat);
    close(file);
    return size > 0 && stateRuns({stat, static_cast<std::size_t>(size)});
}

} // namespace

ProcessSnapshot ProcessSnapshot::take()
{
    const Directory proc(opendir("/proc"));
    if (!proc)
        return failed();
    std::vector<std::uint32_t> ids;
    while (const dirent* entry = readdir(proc.get())) {
        const std::string_view name = entry->d_name;
        std::uint32_t id = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (error == std::errc() && end == name.data() + name.size() && runs(dirfd(proc.get()), entry->d_name))
            ids.push_back(id);
    }
    return ProcessSnapshot(std::move(ids));
}

KillCommand killCommand(std::int64_t processId)
{
    return {QStringLiteral("kill"), {QStringLiteral("-KILL"), QString::number(processId)}};
}
