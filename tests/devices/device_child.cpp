// device_child.cpp: stands for a device process in the launcher's tests and reports what it was handed.
//
// Files in $CHILD_REPORTS, each made whole before it gets its name: PID.message, the first line of standard input;
// PID.extra, what follows it; PID.eof, once standard input has ended. $CHILD_TASK "exit" says why and ends at once,
// "deaf" reads nothing for as long as it runs, "flood" writes 1 MiB to each output first, "descriptors" reports what is
// open in PID.descriptors.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#define getpid _getpid
#else
#include <unistd.h>
#endif

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

void report(const std::string& kind, const std::string& content)
{
    const std::filesystem::path name =
        std::filesystem::path(environment("CHILD_REPORTS")) / (std::to_string(getpid()) + "." + kind);
    std::filesystem::path unfinished = name;
    unfinished += ".part";
    std::ofstream(unfinished, std::ios::binary) << content;
    std::filesystem::rename(unfinished, name);
}

void reportDescriptors()
{
    std::string list;
    for (int descriptor = 0; descriptor < 4096; ++descriptor) {
        std::error_code absent;
        const std::filesystem::path link = "/proc/self/fd/" + std::to_string(descriptor);
        if (!std::filesystem::read_symlink(link, absent).empty() && !absent)
            list += std::to_string(descriptor) + ' ';
    }
    report("descriptors", list);
}

void reportInput()
{
    std::string line;
    int byte = 0;
    while (byte != '\n' && (byte = std::getchar()) != EOF)
        line += static_cast<char>(byte);
    report("message", line);
    while ((byte = std::getchar()) != EOF)
        report("extra", std::string(1, static_cast<char>(byte)));
    report("eof", "");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3 || argv[1] != std::string("--mode") || argv[2] != std::string("Local"))
        return 2;
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    const std::string task = environment("CHILD_TASK");
    if (task == "exit") {
        std::fputs("a line\nno such key\n", stderr);
        return 3;
    }
    if (task == "deaf")
        std::this_thread::sleep_for(std::chrono::minutes(1));
    if (task == "descriptors")
        reportDescriptors();
    if (task == "flood") {
        const std::string chatter(1 << 20, '.');
        std::fputs(chatter.c_str(), stdout);
        std::fputs(chatter.c_str(), stderr);
    }
    reportInput();
}
