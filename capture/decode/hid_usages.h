// hid_usages.h: names of usages (HID Usage Tables 1.4; FIDO's of CTAP 2.1). Protocol texts: never translated.
#pragma once

#include <QString>

#include <cstdint>

namespace hid_usage {

inline constexpr std::uint32_t kSecurityKey = 0xF1D00001; ///< of the collection that a CTAPHID device has

/// "Left Control", "X" or "Button 3"; "0x000c:0x00e9" for one without a name here. `usage`: page above, id below.
QString name(std::uint32_t usage);
QString pageName(std::uint32_t page);

} // namespace hid_usage
