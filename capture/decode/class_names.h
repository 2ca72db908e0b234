// class_names.h: names of device and interface classes. Protocol texts: never translated.
#pragma once

#include <cstdint>

/// What an interface says of itself, and which one of a configuration it is.
struct InterfaceKind
{
    std::uint8_t number = 0;
    std::uint8_t alternate = 0;
    std::uint8_t classCode = 0;
    std::uint8_t subclass = 0;
    std::uint8_t protocol = 0;
};

/// A terminal or unit that a video or audio function tells of.
struct UnitKind
{
    std::uint8_t interface = 0;
    std::uint8_t id = 0;
    std::uint8_t subtype = 0;   ///< of its descriptor
    std::uint16_t terminal = 0; ///< wTerminalType, of terminals
};

namespace usb_class {

enum Code : std::uint8_t
{
    Audio = 0x01,
    Hid = 0x03,
    MassStorage = 0x08,
    Video = 0x0E,
};

/// Of audio interfaces.
enum AudioSubclass : std::uint8_t
{
    AudioControl = 1,
    AudioStreaming = 2,
};
inline constexpr std::uint8_t kAudioVersion2 = 0x20; ///< bInterfaceProtocol

/// Of video interfaces.
enum VideoSubclass : std::uint8_t
{
    VideoControl = 1,
    VideoStreaming = 2,
};

/// Of mass storage interfaces.
enum StorageProtocol : std::uint8_t
{
    BulkOnly = 0x50,
    AttachedScsi = 0x62,
};

/// Null for a class without a name here.
const char* name(std::uint32_t classCode);
/// Null when the class has no names for its subclasses, or none for this one.
const char* subclassName(std::uint8_t classCode, std::uint8_t subclass);

} // namespace usb_class
