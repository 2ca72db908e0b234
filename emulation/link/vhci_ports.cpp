#include "emulation/link/vhci_ports.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vhci {

namespace {

constexpr int kSuperSpeed = 5;
constexpr int kFreeState = 4; // of a port in a status file
constexpr int kMostFiles = 128;

AttachResult resultOfError(int error)
{
    switch (error) {
    case ENOENT:
        return AttachResult::NoController;
    case EACCES:
    case EPERM:
    case EROFS:
        return AttachResult::NotPermitted;
    default:
        return AttachResult::Failed;
    }
}

} // namespace

std::vector<Port> parseStatus(const std::string& text)
{
    std::vector<Port> ports;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // hub port state speed device socket local-bus-id; numbers are decimal but for the device
        std::istringstream words(line);
        std::string hub, device, socket;
        int state = -1, speed = -1;
        Port port;
        if (words >> hub >> port.number >> state >> speed >> device >> socket >> port.busId && port.number >= 0 &&
            (hub == "hs" || hub == "ss")) {
            port.isSuperSpeed = hub == "ss";
            port.isFree = state == kFreeState;
            ports.push_back(port);
        }
    }
    return ports;
}

std::vector<Port> readPorts(const std::string& folder)
{
    std::vector<Port> ports;
    for (int i = 0; i < kMostFiles; ++i) {
        std::ostringstream path;
        path << folder << "/status";
        if (i > 0)
            path << '.' << i;
        std::ifstream file(path.str());
        if (!file)
            break;
        const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        const std::vector<Port> more = parseStatus(text);
        ports.insert(ports.end(), more.begin(), more.end());
    }
    return ports;
}

Attached attach(const std::string& folder, int socket, std::uint32_t deviceId, int speed)
{
    const int file = ::open((folder + "/attach").c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return {resultOfError(errno), -1};
    // One device at a time, until the file is closed: the kernel complains in its log of a port that is taken twice.
    ::flock(file, LOCK_EX);
    Attached attached{AttachResult::Full, -1};
    for (const Port& port : readPorts(folder)) {
        if (!port.isFree || port.isSuperSpeed != (speed == kSuperSpeed))
            continue;
        std::ostringstream line;
        line << port.number << ' ' << socket << ' ' << deviceId << ' ' << speed;
        const std::string text = line.str();
        if (::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size())) {
            attached = {AttachResult::Attached, port.number};
            break;
        }
        if (errno != EBUSY) { // busy: another program was faster, and the next port may be free
            attached = {resultOfError(errno), -1};
            break;
        }
    }
    ::close(file);
    return attached;
}

} // namespace vhci
