#include "emulation/link/host_way.h"

std::unique_ptr<HostWay> makeKernelAttach(const HostWayContext&)
{
    return nullptr; // a driver package attaches devices itself, as a client of their server
}
