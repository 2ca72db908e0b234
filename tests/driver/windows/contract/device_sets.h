// device_sets.h: the devices of the stand-in libraries. Two, each with what the engine reads of a device.
#pragma once

#include "tests/driver/windows/contract/contract.h"

#include <deque>
#include <map>

namespace contract {

constexpr DEVINST kRoot = 1;

struct Device
{
    DEVINST node = 0;
    std::wstring id;
    SP_DEVINSTALL_PARAMS_W parameters{};
    DI_FUNCTION prepared = 0; ///< what the class-install parameters are for
    DWORD drivers = SPDIT_NODRIVER;
    bool selected = false;
    bool created = false;
    bool named = false;
};

struct DeviceSet
{
    std::deque<Device> devices;
    HMACHINE machine = nullptr;
    bool interfaces = false;
};

/// The device of the set that `data` names; null, and a breach, when it is none.
Device* deviceOfSet(Call& call, HDEVINFO handle, const SP_DEVINFO_DATA* data);

/// A node that a set gave out, or the root.
bool isNode(DEVINST node);
std::wstring idOfNode(DEVINST node);

} // namespace contract
