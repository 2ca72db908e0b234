// plugboard-attach DEVICE-ID SPEED: puts the device behind standard input, a socket, on the kernel's virtual host
// controller, and prints the port. With --load it only loads the controller. Started by polkit with an administrator's
// rights, it knows two things: to load the controller's module, and to attach its standard input.
#include "emulation/link/vhci_ports.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kUsageError = 2;
constexpr int kPatience = 50; // turns of 100 ms for the controller to appear

std::optional<std::uint32_t> numberOf(const char* text)
{
    std::uint32_t number = 0;
    const char* const end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

bool isLocalStream(int socket)
{
    struct stat status = {};
    int type = 0, domain = 0;
    socklen_t size = sizeof type;
    return ::fstat(socket, &status) == 0 && S_ISSOCK(status.st_mode) &&
           ::getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM &&
           ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

/// Nothing of the caller's reaches the program: no arguments and no environment.
void loadModule()
{
    const pid_t child = ::fork();
    if (child == 0) {
        char* const arguments[] = {const_cast<char*>("modprobe"), const_cast<char*>("vhci-hcd"), nullptr};
        char* const environment[] = {const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"), nullptr};
        ::execve("/sbin/modprobe", arguments, environment);
        ::_exit(127);
    }
    int status = 0;
    if (child > 0)
        ::waitpid(child, &status, 0);
    for (int turn = 0; turn < kPatience && vhci::readPorts(vhci::kFolder).empty(); ++turn)
        ::usleep(100'000);
}

int fail(const char* sentence)
{
    std::fprintf(stderr, "plugboard-attach: %s\n", sentence);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--load") == 0) {
        loadModule();
        return vhci::readPorts(vhci::kFolder).empty() ? fail("The kernel has no virtual host controller.") : 0;
    }
    const auto deviceId = argc == 3 ? numberOf(argv[1]) : std::nullopt;
    const auto speed = argc == 3 ? numberOf(argv[2]) : std::nullopt;
    if (!deviceId || !speed || (*speed != 2 && *speed != 3 && *speed != 5)) {
        std::fputs(
            "usage: plugboard-attach DEVICE-ID SPEED <SOCKET\n"
            "       plugboard-attach --load\n"
            "Attaches the device behind the socket to the kernel's virtual host controller and prints the port.\n"
            "SPEED is 2 (full), 3 (high) or 5 (super). Plugboard's devices start it; it needs no other use.\n",
            stderr);
        return kUsageError;
    }
    if (!isLocalStream(STDIN_FILENO))
        return fail("Standard input is not a local stream socket.");
    if (vhci::readPorts(vhci::kFolder).empty())
        loadModule();
    const vhci::Attached attached = vhci::attach(vhci::kFolder, STDIN_FILENO, *deviceId, static_cast<int>(*speed));
    switch (attached.result) {
    case vhci::AttachResult::Attached:
        std::printf("%d\n", attached.port);
        return 0;
    case vhci::AttachResult::NoController:
        return fail("The kernel has no virtual host controller.");
    case vhci::AttachResult::NotPermitted:
        return fail("The virtual host controller may not be written.");
    case vhci::AttachResult::Full:
        return fail("All ports of the virtual host controller are taken.");
    case vhci::AttachResult::Failed:
        break;
    }
    return fail("The virtual host controller refused the device.");
}
