#include "capture/decode/hid_usages.h"

#include "capture/decode/field_rows.h"

namespace {

constexpr NamedNumber kPages[] = {
    {0x01, "Generic Desktop"}, {0x02, "Simulation"}, {0x05, "Game"},   {0x06, "Generic Device"},
    {0x07, "Keyboard"},        {0x08, "LED"},        {0x09, "Button"}, {0x0B, "Telephony"},
    {0x0C, "Consumer"},        {0x0D, "Digitizer"},  {0x20, "Sensor"}, {0x84, "Power"},
    {0x85, "Battery"},         {0xF1D0, "FIDO"},
};

/// Page above, id below.
constexpr NamedNumber kUsages[] = {
    {0x00010001, "Pointer"},
    {0x00010002, "Mouse"},
    {0x00010004, "Joystick"},
    {0x00010005, "Gamepad"},
    {0x00010006, "Keyboard"},
    {0x00010007, "Keypad"},
    {0x00010030, "X"},
    {0x00010031, "Y"},
    {0x00010032, "Z"},
    {0x00010033, "Rx"},
    {0x00010034, "Ry"},
    {0x00010035, "Rz"},
    {0x00010036, "Slider"},
    {0x00010037, "Dial"},
    {0x00010038, "Wheel"},
    {0x00010039, "Hat Switch"},
    {0x00010080, "System Control"},
    {0x00010081, "System Power Down"},
    {0x00010082, "System Sleep"},
    {0x00010083, "System Wake Up"},
    {0x00070001, "Error Roll Over"},
    {0x00070028, "Enter"},
    {0x00070029, "Escape"},
    {0x0007002A, "Backspace"},
    {0x0007002B, "Tab"},
    {0x0007002C, "Space"},
    {0x0007002D, "-"},
    {0x0007002E, "="},
    {0x0007002F, "["},
    {0x00070030, "]"},
    {0x00070031, "\\"},
    {0x00070032, "Non-US #"},
    {0x00070033, ";"},
    {0x00070034, "'"},
    {0x00070035, "`"},
    {0x00070036, ","},
    {0x00070037, "."},
    {0x00070038, "/"},
    {0x00070039, "Caps Lock"},
    {0x00070046, "Print Screen"},
    {0x00070047, "Scroll Lock"},
    {0x00070048, "Pause"},
    {0x00070049, "Insert"},
    {0x0007004A, "Home"},
    {0x0007004B, "Page Up"},
    {0x0007004C, "Delete"},
    {0x0007004D, "End"},
    {0x0007004E, "Page Down"},
    {0x0007004F, "Right"},
    {0x00070050, "Left"},
    {0x00070051, "Down"},
    {0x00070052, "Up"},
    {0x00070053, "Num Lock"},
    {0x00070054, "Keypad /"},
    {0x00070055, "Keypad *"},
    {0x00070056, "Keypad -"},
    {0x00070057, "Keypad +"},
    {0x00070058, "Keypad Enter"},
    {0x00070062, "Keypad 0"},
    {0x00070063, "Keypad ."},
    {0x00070064, "Non-US \\"},
    {0x00070065, "Application"},
    {0x000700E0, "Left Control"},
    {0x000700E1, "Left Shift"},
    {0x000700E2, "Left Alt"},
    {0x000700E3, "Left GUI"},
    {0x000700E4, "Right Control"},
    {0x000700E5, "Right Shift"},
    {0x000700E6, "Right Alt"},
    {0x000700E7, "Right GUI"},
    {0x00080001, "Num Lock"},
    {0x00080002, "Caps Lock"},
    {0x00080003, "Scroll Lock"},
    {0x00080004, "Compose"},
    {0x00080005, "Kana"},
    {0x000C0001, "Consumer Control"},
    {0x000C00B5, "Next Track"},
    {0x000C00B6, "Previous Track"},
    {0x000C00B7, "Stop"},
    {0x000C00CD, "Play/Pause"},
    {0x000C00E2, "Mute"},
    {0x000C00E9, "Volume Up"},
    {0x000C00EA, "Volume Down"},
    {0x000C0238, "AC Pan"},
    {0xF1D00001, "Security Key"},
    {0xF1D00020, "Data In"},
    {0xF1D00021, "Data Out"},
};

constexpr std::uint32_t kKeyboardPage = 0x07;
constexpr std::uint32_t kButtonPage = 0x09;

/// Keys whose names follow from their number.
QString keyName(std::uint32_t key)
{
    if (key >= 0x04 && key <= 0x1D)
        return QString(QChar::fromLatin1(static_cast<char>('a' + key - 0x04)));
    if (key >= 0x1E && key <= 0x27)
        return QString::number((key - 0x1E + 1) % 10);
    if (key >= 0x3A && key <= 0x45)
        return QStringLiteral("F%1").arg(key - 0x3A + 1);
    if (key >= 0x59 && key <= 0x61)
        return QStringLiteral("Keypad %1").arg(key - 0x59 + 1);
    return {};
}

} // namespace

QString hid_usage::name(std::uint32_t usage)
{
    const std::uint32_t page = usage >> 16;
    const std::uint32_t id = usage & 0xFFFF;
    if (const char* known = nameIn<kUsages>(usage))
        return QLatin1String(known);
    const QString key = page == kKeyboardPage ? keyName(id) : QString();
    if (!key.isEmpty())
        return key;
    if (page == kButtonPage)
        return QStringLiteral("Button %1").arg(id);
    return QStringLiteral("0x%1:0x%2").arg(page, 4, 16, QLatin1Char('0')).arg(id, 4, 16, QLatin1Char('0'));
}

QString hid_usage::pageName(std::uint32_t page)
{
    const char* known = nameIn<kPages>(page);
    return known             ? QString(QLatin1String(known))
           : page >= 0xFF00U ? QStringLiteral("Vendor Defined")
                             : QStringLiteral("0x%1").arg(page, 4, 16, QLatin1Char('0'));
}
