#include "driver/platform/device_tree.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

DeviceTree DeviceTree::fresh()
{
    DeviceTree tree;
    tree.classes = {
        {*parseGuid(L"{4D36E97D-E325-11CE-BFC1-08002BE10318}"), L"System", L"System devices", {}, {}},
        {*parseGuid(L"{36FC9E60-C465-11CF-8056-444553540000}"), L"USB", L"Universal Serial Bus controllers", {}, {}},
        {*parseGuid(L"{745A17A0-74D3-11D0-B6FE-00A0C90F57DA}"), L"HIDClass", L"Human Interface Devices", {}, {}},
        {*parseGuid(L"{CA3E7AB9-B4C3-4AE6-8251-579EF933890F}"), L"Camera", L"Cameras", {}, {}},
    };
    return tree;
}

const SimulatedDevice* DeviceTree::device(std::uint64_t key) const
{
    // Where nothing between the first device and this one was removed, its place follows from the keys.
    const std::uint64_t place = devices.empty() ? 0 : key - devices.front().key;
    if (place < devices.size() && devices[place].key == key)
        return &devices[place];
    const auto found = std::ranges::lower_bound(devices, key, {}, &SimulatedDevice::key);
    return found != devices.end() && found->key == key ? &*found : nullptr;
}

SimulatedDevice* DeviceTree::device(std::uint64_t key)
{
    return const_cast<SimulatedDevice*>(std::as_const(*this).device(key));
}

const SimulatedClass* DeviceTree::setupClass(const Guid& guid) const
{
    const auto found = std::ranges::find(classes, guid, &SimulatedClass::guid);
    return found == classes.end() ? nullptr : &*found;
}

SimulatedClass* DeviceTree::setupClass(const Guid& guid)
{
    return const_cast<SimulatedClass*>(std::as_const(*this).setupClass(guid));
}

const SimulatedPackage* DeviceTree::package(std::wstring_view name) const
{
    const auto found = std::ranges::find_if(
        packages, [&](const SimulatedPackage& each) { return equalIgnoringCase(each.name, name); });
    return found == packages.end() ? nullptr : &*found;
}

SimulatedDevice& DeviceTree::add(SimulatedDevice device)
{
    device.key = ++lastKey;
    return devices.emplace_back(std::move(device));
}

void DeviceTree::remove(std::uint64_t key)
{
    const auto found = std::ranges::lower_bound(devices, key, {}, &SimulatedDevice::key);
    if (found != devices.end() && found->key == key)
        devices.erase(found);
}

} // namespace driver
