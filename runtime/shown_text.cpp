#include "runtime/shown_text.h"

#include <cmath>

namespace {

QString shown(const QString& value, int limit, bool keepLineFeeds)
{
    QString text = value.left(limit);
    if (text.size() < value.size() && !text.isEmpty() && text.at(text.size() - 1).isHighSurrogate())
        text.chop(1);
    for (QChar& character : text) {
        if (isMisleading(character) && !(keepLineFeeds && character == QLatin1Char('\n')))
            character = QChar::ReplacementCharacter;
    }
    if (text.size() < value.size())
        text += QChar(0x2026);
    return text;
}

} // namespace

bool isMisleading(QChar character)
{
    constexpr ushort kZeroWidthNonJoiner = 0x200c;
    constexpr ushort kZeroWidthJoiner = 0x200d;
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return character.unicode() != kZeroWidthNonJoiner && character.unicode() != kZeroWidthJoiner;
    default:
        return false;
    }
}

QString shownText(const QString& value, int limit)
{
    return shown(value, limit, false);
}

QString shownLines(const QString& value, int limit)
{
    return shown(value, limit, true);
}

QString escapedJson(const QJsonDocument& document)
{
    const QString json = QString::fromUtf8(document.toJson(QJsonDocument::Indented));
    QString text;
    text.reserve(json.size());
    for (const QChar character : json) {
        if (isMisleading(character) && character != QLatin1Char('\n'))
            text += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        else
            text += character;
    }
    return text;
}

QString shownJson(const QJsonObject& object)
{
    const QString json = escapedJson(QJsonDocument(object));
    constexpr int kLongestLine = 4000;
    QString text;
    text.reserve(qMin(json.size(), kLongestShownJson));
    int column = 0;
    for (const QChar character : json) {
        if (text.size() >= kLongestShownJson)
            return text + QStringLiteral("\n…");
        column = character == QLatin1Char('\n') ? 0 : column + 1;
        if (column > kLongestLine && !character.isLowSurrogate()) {
            text += QStringLiteral("↵\n");
            column = 1;
        }
        text += character;
    }
    return text;
}

QString numberText(const QJsonValue& value)
{
    constexpr double kLargestExactWhole = 9007199254740992.0;
    if (value.isString())
        return value.toString();
    if (!value.isDouble())
        return {};
    const double number = value.toDouble();
    if (std::abs(number) <= kLargestExactWhole && std::trunc(number) == number)
        return QString::number(static_cast<qint64>(number));
    return QString::number(number, 'g', 17);
}
