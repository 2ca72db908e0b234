// standard_streams.h: printing from a program that has a window.
#pragma once

#include <QString>

#include <optional>

/// Write UTF-8 text to the standard streams. A program with a window has none of its own on Windows: there the console
/// that it was started from is used, unless the streams were redirected. False when not all of the text could be
/// written.
bool printOut(const QString& text);
bool printError(const QString& text);

/// The next line of standard input without its end, UTF-8; nothing at its end. Blocks.
std::optional<QString> readInputLine();
