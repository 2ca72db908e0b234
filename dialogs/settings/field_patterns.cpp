#include "dialogs/settings/field_patterns.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString kPixels = QStringLiteral("([1-9]\\d{0,3}|1[0-5]\\d{3}|16[0-2]\\d{2}|163[0-7]\\d|1638[0-4])");

} // namespace

const QString patterns::kPrefixedId = QStringLiteral("^0x[0-9A-Fa-f]{1,4}$");
const QString patterns::kPlainId = QStringLiteral("[0-9a-fA-F]{4}");
const QString patterns::kPort =
    QStringLiteral("^([1-9]|[1-9]\\d{1,3}|[1-5]\\d{4}|6[0-4]\\d{3}|65[0-4]\\d{2}|655[0-2]\\d|6553[0-5])$");
const QString patterns::kResolution = kPixels + QLatin1Char('x') + kPixels;
const QString patterns::kFrameRate = QStringLiteral("[1-9]\\d{0,2}|1000");

bool patterns::matches(const QString& pattern, const QString& text)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(text).hasMatch();
}

bool patterns::isName(const QString& text)
{
    return !text.trimmed().isEmpty() && isOneLine(text);
}

bool patterns::isOneLine(const QString& text)
{
    return std::none_of(text.begin(), text.end(), [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
    });
}
