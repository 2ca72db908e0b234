#include "emulation/hid/mouse.h"

#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace hid {

namespace {

// Bytes of a report: buttons, X, Y, which boot hosts know (HID 1.11, appendix B.2), and the wheel.
constexpr int kBootReportSize = 3;
constexpr int kFarthest = 127; ///< counts of one report
constexpr int kButtons = 5;
constexpr const char* kButtonNames[kButtons] = {"left", "right", "middle", "back", "forward"};

constexpr std::uint16_t kPointerUsage = 1;
constexpr std::uint16_t kMouseUsage = 2;
constexpr std::uint16_t kXUsage = 0x30;
constexpr std::uint16_t kYUsage = 0x31;
constexpr std::uint16_t kWheelUsage = 0x38;

/// The bit of a button.
std::optional<std::uint8_t> buttonNamed(const QString& name)
{
    for (int button = 0; button < kButtons; ++button)
        if (name.compare(QLatin1String(kButtonNames[button]), Qt::CaseInsensitive) == 0)
            return std::uint8_t(1U << button);
    return std::nullopt;
}

QString namesOf(std::uint8_t buttons)
{
    QStringList names;
    for (int button = 0; button < kButtons; ++button)
        if ((buttons >> button & 1) != 0)
            names << QLatin1String(kButtonNames[button]);
    return names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1Char(' '));
}

/// `expected` numbers in decimal, no farther than the queue can ever hold.
std::optional<QVector<int>> numbersOf(const QStringList& words, int expected)
{
    constexpr int kLargest = kFarthest * InputPipe::kCapacity;
    QVector<int> numbers;
    for (const QString& word : words) {
        bool isNumber = false;
        const int number = word.toInt(&isNumber);
        if (!isNumber || number < -kLargest || number > kLargest)
            return std::nullopt;
        numbers.push_back(number);
    }
    return numbers.size() == expected ? std::optional(numbers) : std::nullopt;
}

} // namespace

QByteArray Mouse::reportDescriptor()
{
    return ReportDescriptorWriter()
        .usagePage(UsagePage::GenericDesktop)
        .usage(kMouseUsage)
        .begin(Collection::Application)
        .usage(kPointerUsage)
        .begin(Collection::Physical)
        .usagePage(UsagePage::Buttons)
        .usageRange(1, kButtons)
        .logicalRange(0, 1)
        .fields(kButtons, 1)
        .input(Variable)
        .fields(1, 8 - kButtons)
        .input(Constant)
        .usagePage(UsagePage::GenericDesktop)
        .usage(kXUsage)
        .usage(kYUsage)
        .usage(kWheelUsage)
        .logicalRange(-kFarthest, kFarthest)
        .fields(3, 8)
        .input(Variable | Relative)
        .end()
        .end()
        .bytes();
}

Mouse::Mouse(usb::DeviceDescriptors identity)
    : HidFunction(std::move(identity),
                  {BootDevice::Mouse, kBootReportSize, InputPipe::Milliseconds::zero(), reportDescriptor()})
{}

QString Mouse::run(const QString& command)
{
    const QStringList words = command.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString verb = words.value(0);
    if (verb == QLatin1String("move") || verb == QLatin1String("wheel")) {
        const bool isMove = verb == QLatin1String("move");
        const auto numbers = numbersOf(words.mid(1), isMove ? 2 : 1);
        if (!numbers)
            return commandFailed(isMove ? QStringLiteral("move takes two numbers, right and down.")
                                        : QStringLiteral("wheel takes one number, positive is up."));
        return isMove ? travel(numbers->at(0), numbers->at(1), 0) : travel(0, 0, numbers->at(0));
    }
    const bool isRelease = verb == QLatin1String("release");
    if (!isRelease && verb != QLatin1String("click") && verb != QLatin1String("hold"))
        return commandFailed(
            QStringLiteral("A mouse knows: move X Y, click BUTTON, wheel N, hold BUTTON, release [BUTTON], status."));
    if (isRelease && words.size() == 1)
        return press(0);
    const auto button = words.size() == 2 ? buttonNamed(words[1]) : std::nullopt;
    if (!button)
        return commandFailed(QStringLiteral("A button is left, right, middle, back or forward."));
    if (verb == QLatin1String("click"))
        return click(*button);
    return press(std::uint8_t(isRelease ? m_buttons & ~*button : m_buttons | *button));
}

QString Mouse::travel(int x, int y, int wheel)
{
    const int farthest = std::max({std::abs(x), std::abs(y), std::abs(wheel)});
    const int reports = std::max(1, (farthest + kFarthest - 1) / kFarthest);
    const QString refused = refusal(reports);
    if (!refused.isEmpty())
        return commandFailed(refused);
    const auto step = [reports](qint64 whole, qint64 report) {
        return int(whole * (report + 1) / reports - whole * report / reports);
    };
    for (int report = 0; report < reports; ++report)
        append(step(x, report), step(y, report), step(wheel, report));
    return commandDone(
        QStringLiteral("%1 %2").arg(reports).arg(reports == 1 ? QStringLiteral("report") : QStringLiteral("reports")));
}

QString Mouse::click(std::uint8_t button)
{
    const QString refused = refusal(2);
    if (!refused.isEmpty())
        return commandFailed(refused);
    const std::uint8_t held = m_buttons & ~button;
    m_buttons = held | button;
    append(0, 0, 0);
    m_buttons = held;
    append(0, 0, 0);
    return commandDone(QStringLiteral("clicked"));
}

QString Mouse::press(std::uint8_t buttons)
{
    const QString refused = refusal(1);
    if (!refused.isEmpty())
        return commandFailed(refused);
    m_buttons = buttons;
    append(0, 0, 0);
    return commandDone(QStringLiteral("held: ") + namesOf(buttons));
}

void Mouse::append(int x, int y, int wheel)
{
    QByteArray report(4, '\0');
    report[0] = char(m_buttons);
    const QByteArray state = report;
    report[1] = char(x);
    report[2] = char(y);
    report[3] = char(wheel);
    input().append(report, state);
}

QString Mouse::status() const
{
    return QStringLiteral("held: %1; %2").arg(namesOf(m_buttons), pipeStatus());
}

} // namespace hid
