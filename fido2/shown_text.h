// shown_text.h: text that came from outside, in a form that cannot pass for a part of the window that shows it.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

/// Length in characters above which a value is cut when it is shown.
constexpr int kLongestShownValue = 1000;

/// `value` on one line: each control character, line or paragraph separator and direction mark becomes U+FFFD, and what
/// is longer than `limit` ends in an ellipsis. Ordinary text comes back unchanged.
QString shownText(const QString& value, int limit = kLongestShownValue);

/// As shownText, but line feeds stay.
QString shownLines(const QString& value, int limit = kLongestShownValue);

/// Indented JSON that shows such characters as JSON escapes. A line that would take a text box minutes to lay out goes
/// on after a return arrow and a line feed; apart from that it is the same JSON value.
QString shownJson(const QJsonObject& object);

/// A JSON number as decimal text, whole numbers without fraction or exponent; a string as it stands; else empty.
QString numberText(const QJsonValue& value);
