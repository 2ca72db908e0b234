// device_type.h: the kinds of virtual USB device, with the words and codes that each interface uses for them.
#pragma once

#include <QString>

#include <optional>

/// Values are the record type codes, as device processes write them. They differ from the device codes of creation
/// parameter lists (see parameter_list.h).
enum class DeviceType
{
    Camera = 1,
    Fido2 = 2,
    Mouse = 3,
    Keyboard = 4,
    UsbIp = 5,
    Storage = 6,
    Microphone = 7,
    Speaker = 8,
};

/// The type of a record type code; nothing for any code but 1 to 8.
std::optional<DeviceType> deviceTypeFromRecordCode(int code);

/// The word that names the type to the launcher, to scripts and in the rows of launched devices ("udisk", "usbip",
/// ...).
QString deviceTypeWord(DeviceType type);
std::optional<DeviceType> deviceTypeFromWord(const QString& word);

/// What scripts and restored rows call the type ("Camera", "Network", ...), in English: programs read it, and windows
/// show it by deviceTypeCaption(). The microphone's label has more to it, see microphoneLabel().
QString deviceTypeLabel(DeviceType type);

/// Resource path of the icon in a restored row; empty for the types that have none.
QString deviceTypeIconPath(DeviceType type);
