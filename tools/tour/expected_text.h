// expected_text.h: how a text that the tour expects in English reads in the language that the windows speak.
#pragma once

#include "runtime/language.h"

/// Finds the text of ours that `english` was made of, with its values filled in, and fills them into its translation. A
/// text that is none of ours comes back unchanged.
QString expectedText(const QString& english, Language language);

/// The same for the beginning of a text, up to its first value. No text of ours may begin with a value and be asked
/// for.
QString expectedBeginning(const QString& english, Language language);
