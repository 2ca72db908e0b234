// field_patterns.h: how the texts of settings must look, for the fields of the dialogs and for scripts alike.
#pragma once

#include <QString>

namespace patterns {

/// "0x" and one to four hexadecimal digits.
extern const QString kPrefixedId;
/// Four hexadecimal digits.
extern const QString kPlainId;
/// A TCP port, 1 to 65535, without a leading zero.
extern const QString kPort;
/// Width and height in pixels with an "x" between them, each 1 to 16384.
extern const QString kResolution;
/// Frames a second, 1 to 1000.
extern const QString kFrameRate;

/// The whole of `text`, to its last character, fits the pattern.
bool matches(const QString& pattern, const QString& text);

/// Without control characters. Creation parameters are separated by line feeds, so none may come in from outside.
bool isOneLine(const QString& text);

/// One line with more than blanks on it. A device without a name would have its row taken by the next one.
bool isName(const QString& text);

} // namespace patterns
