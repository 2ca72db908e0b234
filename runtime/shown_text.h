// shown_text.h: text that came from outside, in a form that cannot pass for a part of the window that shows it.
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

/// Length in characters above which a value is cut when it is shown.
constexpr int kLongestShownValue = 1000;

/// Items of a peer's or a file's list that a list, table or text shows. What is kept has no such bound.
constexpr int kMostShownItems = 5000;

/// Characters of JSON that are shown; an ellipsis says that there are more.
constexpr int kLongestShownJson = 2 * 1024 * 1024;

/// Whether the character may act on what shows it: control characters, line and paragraph separators, direction marks.
/// Joiners may not: names in several scripts and emoji need them.
bool isMisleading(QChar character);

/// `value` on one line: each control character, line or paragraph separator and direction mark becomes U+FFFD, and what
/// is longer than `limit` ends in an ellipsis. Ordinary text comes back unchanged.
QString shownText(const QString& value, int limit = kLongestShownValue);

/// As shownText, but line feeds stay.
QString shownLines(const QString& value, int limit = kLongestShownValue);

/// Indented JSON whose strings have such characters as JSON escapes, for a terminal.
QString escapedJson(const QJsonDocument& document);

/// As escapedJson, for a text box. A line that would take a text box minutes to lay out goes on after a return arrow
/// and a line feed; apart from that it is the same JSON value, as far as kLongestShownJson.
QString shownJson(const QJsonObject& object);

/// A JSON number as decimal text, whole numbers without fraction or exponent; a string as it stands; else empty.
QString numberText(const QJsonValue& value);
