// us_layout.h: the keys of a keyboard of 104 keys with the US layout, as usages of HID's keyboard page
// (HID Usage Tables 1.12, section 10).
#pragma once

#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

namespace hid {

constexpr std::uint8_t kFirstKey = 0x04;
constexpr std::uint8_t kLastKey = 0x65;       ///< Application; the modifiers have numbers of their own
constexpr std::uint8_t kFirstModifier = 0xE0; ///< left Control
constexpr std::uint8_t kLastModifier = 0xE7;  ///< right GUI
constexpr std::uint8_t kLeftShift = 0xE1;

struct Stroke
{
    std::uint8_t usage = 0;
    bool shift = false;
};

/// How a character is typed; nothing when no key has it.
std::optional<Stroke> strokeOf(uint character);

/// "a", "f5", "ctrl", "delete", "kp7"; in any letter case. Keys that carry a character go by the one they have without
/// Shift.
std::optional<std::uint8_t> keyNamed(const QString& name);
/// The name that keyNamed() knows; of several the first.
QString nameOfKey(std::uint8_t usage);

/// The keys of "ctrl+alt+delete".
struct Combination
{
    QVector<std::uint8_t> keys;
    QString unknown; ///< the first name that no key has; then there are no keys
};
Combination parseCombination(const QString& text);

} // namespace hid
