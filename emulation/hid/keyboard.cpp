#include "emulation/hid/keyboard.h"

#include <QStringList>

namespace hid {

namespace {

// Of the report that boot hosts know (HID 1.11, appendix B.1): modifiers, a reserved byte, six keys.
constexpr int kReportSize = 8;
constexpr int kFirstKeyByte = 2;
constexpr int kMostKeys = 6;
constexpr char kErrorRollOver = 1;
constexpr int kLeds = 5;
constexpr std::uint16_t kKeyboardUsage = 6;
/// Recommended for keyboards (HID 1.11, 7.2.4).
constexpr InputPipe::Milliseconds kIdle{500};
/// A press and a release.
constexpr int kReportsOfStroke = 2;

bool isModifier(std::uint8_t usage)
{
    return usage >= kFirstModifier && usage <= kLastModifier;
}

QString count(int number, const char* noun)
{
    return QStringLiteral("%1 %2%3").arg(number).arg(QLatin1String(noun), QLatin1String(number == 1 ? "" : "s"));
}

QString ledNames(std::uint8_t leds)
{
    static constexpr const char* kNames[kLeds] = {"num", "caps", "scroll", "compose", "kana"};
    QStringList names;
    for (int led = 0; led < kLeds; ++led)
        if ((leds >> led & 1) != 0)
            names << QLatin1String(kNames[led]);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1Char(' '));
}

} // namespace

QByteArray Keyboard::reportDescriptor()
{
    return ReportDescriptorWriter()
        .usagePage(UsagePage::GenericDesktop)
        .usage(kKeyboardUsage)
        .begin(Collection::Application)
        .usagePage(UsagePage::Keyboard)
        .usageRange(kFirstModifier, kLastModifier)
        .logicalRange(0, 1)
        .fields(8, 1)
        .input(Variable)
        .fields(1, 8)
        .input(Constant)
        .usagePage(UsagePage::Leds)
        .usageRange(1, kLeds)
        .fields(kLeds, 1)
        .output(Variable)
        .fields(1, 8 - kLeds)
        .output(Constant)
        .usagePage(UsagePage::Keyboard)
        .usageRange(0, kLastKey)
        .logicalRange(0, kLastKey)
        .fields(kMostKeys, 8)
        .input(0)
        .end()
        .bytes();
}

Keyboard::Keyboard(usb::DeviceDescriptors identity)
    : HidFunction(std::move(identity), {BootDevice::Keyboard, kReportSize, kIdle, reportDescriptor()})
{}

void Keyboard::forgetState()
{
    m_held.clear();
    m_leds = 0;
}

QString Keyboard::run(const QString& command)
{
    const QString verb = command.section(QLatin1Char(' '), 0, 0);
    const QString rest = command.mid(verb.size() + 1);
    if (verb == QLatin1String("type"))
        return type(rest);
    const bool isRelease = verb == QLatin1String("release");
    if (!isRelease && verb != QLatin1String("key") && verb != QLatin1String("hold"))
        return commandFailed(QStringLiteral("A keyboard knows: type TEXT, key KEYS, hold KEYS, release [KEYS], status; "
                                            "KEYS are names joined by +, as in ctrl+alt+delete."));
    if (isRelease && rest.isEmpty())
        return release(m_held);
    const Combination combination = parseCombination(rest);
    if (combination.keys.isEmpty())
        return commandFailed(QStringLiteral("No key is called \"%1\".").arg(combination.unknown));
    if (isRelease)
        return release(combination.keys);
    return verb == QLatin1String("key") ? press(combination.keys) : hold(combination.keys);
}

QString Keyboard::type(const QString& text)
{
    const auto characters = text.toUcs4();
    if (characters.isEmpty())
        return commandFailed(QStringLiteral("There is nothing to type."));
    QVector<Stroke> strokes;
    for (const uint character : characters) {
        const auto stroke = strokeOf(character);
        if (!stroke)
            return commandFailed(
                QStringLiteral("No key types \"%1\"; nothing was typed.").arg(QString::fromUcs4(&character, 1)));
        strokes.push_back(*stroke);
    }
    const QString refused = refusal(kReportsOfStroke * strokes.size());
    if (!refused.isEmpty())
        return commandFailed(refused);
    for (const Stroke& stroke : strokes) {
        append(report(stroke.shift ? QVector<std::uint8_t>{kLeftShift, stroke.usage}
                                   : QVector<std::uint8_t>{stroke.usage}));
        append(report());
    }
    return commandDone(count(strokes.size(), "letter"));
}

QString Keyboard::press(const QVector<std::uint8_t>& keys)
{
    const QString refused = refusal(kReportsOfStroke);
    if (!refused.isEmpty())
        return commandFailed(refused);
    append(report(keys));
    append(report());
    return commandDone(count(keys.size(), "key"));
}

QString Keyboard::hold(const QVector<std::uint8_t>& keys)
{
    const QString refused = refusal(1);
    if (!refused.isEmpty())
        return commandFailed(refused);
    for (const std::uint8_t key : keys)
        if (!m_held.contains(key))
            m_held.push_back(key);
    append(report());
    return commandDone(QStringLiteral("%1 held").arg(count(m_held.size(), "key")));
}

QString Keyboard::release(const QVector<std::uint8_t>& keys)
{
    const QString refused = refusal(1);
    if (!refused.isEmpty())
        return commandFailed(refused);
    const QVector<std::uint8_t> released = keys; // perhaps m_held itself
    for (const std::uint8_t key : released)
        m_held.removeAll(key);
    append(report());
    return commandDone(QStringLiteral("%1 held").arg(count(m_held.size(), "key")));
}

QByteArray Keyboard::report(const QVector<std::uint8_t>& keys) const
{
    QByteArray report(kReportSize, '\0');
    QByteArray pressed;
    std::uint8_t modifiers = 0;
    for (const std::uint8_t key : m_held + keys) {
        if (isModifier(key))
            modifiers = std::uint8_t(modifiers | 1U << (key - kFirstModifier));
        else if (!pressed.contains(char(key)))
            pressed += char(key);
    }
    report[0] = char(modifiers);
    // More keys than the report holds: all of them are told as the roll-over error (HID 1.11, appendix C).
    if (pressed.size() > kMostKeys)
        pressed.fill(kErrorRollOver, kMostKeys);
    report.replace(kFirstKeyByte, pressed.size(), pressed);
    return report;
}

QString Keyboard::status() const
{
    QStringList held;
    for (const std::uint8_t key : m_held)
        held << nameOfKey(key);
    return QStringLiteral("LEDs: %1; held: %2; %3")
        .arg(ledNames(m_leds), held.isEmpty() ? QStringLiteral("none") : held.join(QLatin1Char(' ')), pipeStatus());
}

} // namespace hid
