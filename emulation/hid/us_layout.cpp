#include "emulation/hid/us_layout.h"

#include <QStringList>

#include <iterator>

namespace hid {

namespace {

// The characters of the keys from kFirstKey on, without and with Shift. A space: the key has none, or is the space bar.
// The key behind "\" stands on other layouts only.
constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyz1234567890     -=[]\\ ;'`,./";
constexpr char kShifted[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ!@#$%^&*()     _+{}| :\"~<>?";
static_assert(sizeof kPlain == sizeof kShifted);

constexpr std::uint8_t kSpaceBar = 0x2C;
constexpr std::uint8_t kFirstFunctionKey = 0x3A;

struct NamedKey
{
    const char* name;
    std::uint8_t usage;
};

// Several names of one key: the first is the one that is shown.
constexpr NamedKey kNames[] = {
    {"enter", 0x28},         {"return", 0x28},      {"esc", 0x29},        {"escape", 0x29},
    {"backspace", 0x2A},     {"tab", 0x2B},         {"space", kSpaceBar}, {"capslock", 0x39},
    {"print", 0x46},         {"printscreen", 0x46}, {"scrolllock", 0x47}, {"pause", 0x48},
    {"insert", 0x49},        {"home", 0x4A},        {"pageup", 0x4B},     {"delete", 0x4C},
    {"del", 0x4C},           {"end", 0x4D},         {"pagedown", 0x4E},   {"right", 0x4F},
    {"left", 0x50},          {"down", 0x51},        {"up", 0x52},         {"numlock", 0x53},
    {"kp/", 0x54},           {"kp*", 0x55},         {"kp-", 0x56},        {"kpplus", 0x57},
    {"kpenter", 0x58},       {"kp1", 0x59},         {"kp2", 0x5A},        {"kp3", 0x5B},
    {"kp4", 0x5C},           {"kp5", 0x5D},         {"kp6", 0x5E},        {"kp7", 0x5F},
    {"kp8", 0x60},           {"kp9", 0x61},         {"kp0", 0x62},        {"kp.", 0x63},
    {"menu", kLastKey},      {"ctrl", 0xE0},        {"control", 0xE0},    {"shift", 0xE1},
    {"alt", 0xE2},           {"gui", 0xE3},         {"win", 0xE3},        {"super", 0xE3},
    {"rctrl", 0xE4},         {"rshift", 0xE5},      {"ralt", 0xE6},       {"altgr", 0xE6},
    {"rgui", kLastModifier},
};

int positionOf(const char* characters, uint character)
{
    if (character <= ' ' || character > '~')
        return -1;
    const QLatin1String row(characters);
    for (int position = 0; position < row.size(); ++position)
        if (row[position].unicode() == character)
            return position;
    return -1;
}

} // namespace

std::optional<Stroke> strokeOf(uint character)
{
    if (character == ' ')
        return Stroke{kSpaceBar, false};
    if (const int plain = positionOf(kPlain, character); plain >= 0)
        return Stroke{std::uint8_t(kFirstKey + plain), false};
    if (const int shifted = positionOf(kShifted, character); shifted >= 0)
        return Stroke{std::uint8_t(kFirstKey + shifted), true};
    return std::nullopt;
}

std::optional<std::uint8_t> keyNamed(const QString& name)
{
    const QString key = name.toLower();
    for (const NamedKey& each : kNames)
        if (key == QLatin1String(each.name))
            return each.usage;
    bool isNumber = false;
    const int number = key.mid(1).toInt(&isNumber);
    if (key.startsWith(QLatin1Char('f')) && isNumber && number >= 1 && number <= 12)
        return std::uint8_t(kFirstFunctionKey + number - 1);
    const auto stroke = key.size() == 1 ? strokeOf(key[0].unicode()) : std::nullopt;
    return stroke && !stroke->shift && key != QLatin1String(" ") ? std::optional(stroke->usage) : std::nullopt;
}

QString nameOfKey(std::uint8_t usage)
{
    for (const NamedKey& each : kNames)
        if (each.usage == usage)
            return QLatin1String(each.name);
    if (usage >= kFirstFunctionKey && usage < kFirstFunctionKey + 12)
        return QStringLiteral("f%1").arg(usage - kFirstFunctionKey + 1);
    const int position = usage - kFirstKey;
    return position >= 0 && position < int(std::size(kPlain)) - 1 ? QString(QLatin1Char(kPlain[position])) : QString();
}

Combination parseCombination(const QString& text)
{
    Combination combination;
    for (const QString& name : text.split(QLatin1Char('+'))) {
        const auto usage = keyNamed(name.trimmed());
        if (!usage)
            return {{}, name.trimmed()};
        combination.keys.push_back(*usage);
    }
    return combination;
}

} // namespace hid
