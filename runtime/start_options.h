// start_options.h: the options that the programs with windows share.
#pragma once

#include "runtime/language.h"

#include <QString>

#include <optional>

class QCommandLineParser;

struct StartOptions
{
    std::optional<Language> language; ///< what --language chose
    QString logRules;                 ///< see logRules()
    QString error;                    ///< empty when the options make sense
};

void addLanguageOption(QCommandLineParser& parser);
void addLogOption(QCommandLineParser& parser);

/// Reads those of the two options that were added.
StartOptions readStartOptions(const QCommandLineParser& parser, bool hasLanguage = true);

/// Speaks the chosen language, which is remembered, or else the remembered one, and returns it. Logs when it cannot be
/// remembered or spoken.
Language speakAsAsked(const std::optional<Language>& chosen, QCoreApplication& application);
