// device.h: one device of a list, as commands look at it.
#pragma once

#include "driver/device_platform.h"

#include <optional>
#include <string>

namespace driver {

/// Valid while the list that it belongs to is open.
struct Device
{
    DevicePlatform& platform;
    DeviceList& list;
    DeviceIndex index;
    const ListDetail& detail;

    /// Nothing when the id cannot be read or has 200 characters or more.
    std::optional<std::wstring> id() const;

    /// The id as it is printed: "?" when it cannot be read.
    std::wstring shownId() const;

    /// Nothing when the property is missing, cannot be read or is no text.
    std::optional<std::wstring> text(DeviceProperty property) const;

    /// Empty when the property is missing, cannot be read or is no multi-string.
    TextList texts(DeviceProperty property) const;

    /// The device's description, "?" without one.
    std::wstring description() const;
};

} // namespace driver
