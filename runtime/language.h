// language.h: the language that windows speak, and the memory of what the user chose.
#pragma once

#include <QString>

#include <optional>

class QCoreApplication;

enum class Language
{
    English,
    SimplifiedChinese
};

/// "en" or "zh_CN"; nothing for any other text.
std::optional<Language> languageFromWord(const QString& word);
QString languageWord(Language language);

/// What rememberLanguage() last kept for this user; English when there is nothing.
Language rememberedLanguage();
/// False when it could not be kept.
bool rememberLanguage(Language language);

/// Texts translated from here on are in `language`; windows that are open keep theirs. False when the catalogue is not
/// compiled in (the texts are then English). GUI thread only.
bool speak(Language language, QCoreApplication& application);
