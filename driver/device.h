// device.h: one device of a list, as commands look at it.
#pragma once

#include "driver/causes.h"

#include <optional>
#include <string>

namespace driver {

/// An id that cannot be read, as it is printed.
inline constexpr const wchar_t* kUnknownId = L"?";

/// Valid while the list that it belongs to is open. A property that the device does not have is no failure; others are
/// reported where they occur.
struct Device
{
    Causes& causes;
    DeviceList& list;
    DeviceIndex index;

    /// Fails too when it has 200 characters or more. Reports nothing.
    Outcome<std::wstring> id() const;

    /// The id as it is printed.
    std::wstring shownId() const;

    /// That the device is not there is no failure either.
    Outcome<NodeStatus> status() const;

    /// Nothing when the property is missing, cannot be read or is no text.
    std::optional<std::wstring> text(DeviceProperty property) const;

    /// Empty when the property is missing, cannot be read or is no multi-string.
    TextList texts(DeviceProperty property) const;

    /// The device's description, "?" without one.
    std::wstring description() const;

    /// Names the device; not for `absence`, which says that it has nothing (more) of what was asked for.
    void reportUnless(ErrorCode absence, ErrorCode error) const;

    /// The property as it is.
    Outcome<RegistryData> read(DeviceProperty property) const;
};

} // namespace driver
