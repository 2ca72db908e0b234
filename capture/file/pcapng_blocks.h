// pcapng_blocks.h: the blocks of pcapng files that we read and write (draft-ietf-opsawg-pcapng).
#pragma once

#include <cstdint>

namespace pcapng {

enum Block : std::uint32_t
{
    SectionHeader = 0x0A0D0D0A,
    Interface = 1,
    SimplePacket = 3,
    EnhancedPacket = 6,
    // For local use; readers that do not know them skip them.
    Extra = 0x80554253,      ///< before a packet's block: what its record has no place for
    Recordless = 0x80554254, ///< a packet that no record stands for, as its message in the capture channel
};

enum Option : std::uint16_t
{
    EndOfOptions = 0,
    InterfaceName = 2,
    UserApplication = 4,
    TimeResolution = 9,
};

inline constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
inline constexpr std::uint32_t kMinBlock = 12; // bytes

} // namespace pcapng
