#include "media/scaler_commands.h"

#include <QLocale>
#include <QStringList>

#include <cmath>
#include <optional>

namespace {

/// Missing when the line has no comma; present and empty when nothing follows it.
using Argument = std::optional<QString>;

QString setPosition(std::atomic<int>& position, const Argument& argument, QChar axis)
{
    if (!argument)
        return QStringLiteral("ERROR: Missing %1 coordinate value").arg(axis);
    bool valid = false;
    const int value = argument->toInt(&valid, 10);
    if (!valid)
        return QStringLiteral("ERROR: Invalid %1 coordinate value").arg(axis);
    position = value;
    return QStringLiteral("OK: Image %1 position set to %2").arg(axis).arg(value);
}

QString movePosition(std::atomic<int>& position, const Argument& argument, QChar axis)
{
    if (!argument)
        return QStringLiteral("ERROR: Missing %1 movement value").arg(axis);
    bool valid = false;
    const int value = argument->toInt(&valid, 10);
    if (!valid)
        return QStringLiteral("ERROR: Invalid %1 movement value").arg(axis);
    // Atomic integers wrap at 32 bits; so does the sum in the reply.
    const int moved = static_cast<int>(static_cast<unsigned>(position.fetch_add(value)) + static_cast<unsigned>(value));
    return QStringLiteral("OK: Image %1 position moved by %2 to %3").arg(axis).arg(value).arg(moved);
}

/// `side` is "width" or "height".
QString setScale(std::atomic<double>& scale, const Argument& argument, const QString& side, int inputSize,
                 bool mustBeEven)
{
    if (!argument)
        return QStringLiteral("ERROR: Missing %1 scale value").arg(side);
    bool valid = false;
    const double value = argument->toDouble(&valid);
    if (!valid || !std::isfinite(value) || value <= 0)
        return QStringLiteral("ERROR: Invalid %1 scale value (must be positive)").arg(side);
    scale = value;
    const QString number = QString::number(value, 'g', QLocale::FloatingPointShortest);
    const int size = scaledSize(inputSize, value);
    if (mustBeEven && size % 2 != 0) {
        return QStringLiteral("OK: Image %1 scale set to %2 (adjusted from %3 to %4 pixels for alignment)")
            .arg(side, number, QString::number(size), QString::number(size + 1));
    }
    return QStringLiteral("OK: Image %1 scale set to %2").arg(side, number);
}

QString setMode(std::atomic<int>& mode, const Argument& argument)
{
    static constexpr const char* kNames[] = {"STRETCH", "ASPECT_FIT", "PADDING"};
    if (!argument)
        return QStringLiteral("ERROR: Missing scale mode value");
    const QString wanted = argument->toLower();
    for (int number = kScaleStretch; number <= kScalePadding; ++number) {
        const QString name = QString::fromLatin1(kNames[number]);
        if (wanted == QString::number(number) || wanted == name.toLower()) {
            mode = number;
            return QStringLiteral("OK: Scale mode set to %1").arg(name);
        }
    }
    return QStringLiteral("ERROR: Invalid scale mode. Use: 0/STRETCH, 1/ASPECT_FIT, or 2/PADDING");
}

QString switchEcho(const EchoSwitch& echo, const Argument& argument)
{
    if (!argument)
        return echo.isEnabled() ? QStringLiteral("OK: Echo is enabled") : QStringLiteral("OK: Echo is disabled");
    const QString wanted = argument->toLower();
    if (wanted == QLatin1String("1") || wanted == QLatin1String("on") || wanted == QLatin1String("true")) {
        echo.setEnabled(true);
        return QStringLiteral("OK: Echo enabled");
    }
    if (wanted == QLatin1String("0") || wanted == QLatin1String("off") || wanted == QLatin1String("false")) {
        echo.setEnabled(false);
        return QStringLiteral("OK: Echo disabled");
    }
    return QStringLiteral("ERROR: Invalid echo value. Use: 1/ON/TRUE or 0/OFF/FALSE");
}

} // namespace

QString ScalerCommands::interpret(const QString& line, const EchoSwitch& echo)
{
    const QString trimmed = line.trimmed();
    if (!trimmed.isEmpty())
        m_previous = trimmed;
    else if (m_previous.isEmpty())
        return QStringLiteral("ERROR: No previous command to repeat");
    return run(m_previous, echo);
}

QString ScalerCommands::run(const QString& line, const EchoSwitch& echo)
{
    const QStringList parts = line.split(QLatin1Char(','), Qt::KeepEmptyParts);
    if (parts.isEmpty())
        return QStringLiteral("ERROR: Empty command");
    const QString word = parts.at(0).trimmed().toLower();
    const Argument argument = parts.size() > 1 ? Argument(parts.at(1).trimmed()) : Argument();
    const QLatin1Char x('X');
    const QLatin1Char y('Y');

    if (word == QLatin1String("imgx"))
        return setPosition(m_placement.x, argument, x);
    if (word == QLatin1String("imgy"))
        return setPosition(m_placement.y, argument, y);
    if (word == QLatin1String("imgmx"))
        return movePosition(m_placement.x, argument, x);
    if (word == QLatin1String("imgmy"))
        return movePosition(m_placement.y, argument, y);
    if (word == QLatin1String("imgws")) {
        return setScale(m_placement.widthScale, argument, QStringLiteral("width"), m_placement.inputWidth,
                        needsEvenWidth(m_outputFormat));
    }
    if (word == QLatin1String("imghs")) {
        return setScale(m_placement.heightScale, argument, QStringLiteral("height"), m_placement.inputHeight,
                        needsEvenHeight(m_outputFormat));
    }
    if (word == QLatin1String("imgm"))
        return setMode(m_placement.mode, argument);
    if (word == QLatin1String("echo"))
        return switchEcho(echo, argument);
    return QStringLiteral("ERROR: Unknown command '%1'. Available commands: ImgX, ImgY, ImgMX, ImgMY, ImgWS, ImgHS, "
                          "ImgM, Echo")
        .arg(word);
}
