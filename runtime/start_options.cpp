#include "runtime/start_options.h"

#include "runtime/log.h"
#include "runtime/log_levels.h"

#include <QCommandLineParser>

namespace {

const QString kLanguage = QStringLiteral("language");
const QString kLog = QStringLiteral("log");

} // namespace

void addLanguageOption(QCommandLineParser& parser)
{
    parser.addOption({kLanguage, QStringLiteral("Language of the windows, en or zh_CN; remembered for the next time."),
                      QStringLiteral("LANGUAGE")});
}

void addLogOption(QCommandLineParser& parser)
{
    parser.addOption(
        {kLog,
         QStringLiteral("What goes into the log, debug, info, warning or critical and above: for everything "
                        "or as CATEGORY=LEVEL for one of %1. Can be given several times.")
             .arg(logCategories().join(QStringLiteral(", "))),
         QStringLiteral("LEVEL")});
}

StartOptions readStartOptions(const QCommandLineParser& parser, bool hasLanguage)
{
    StartOptions options;
    if (hasLanguage && parser.isSet(kLanguage)) {
        options.language = languageFromWord(parser.value(kLanguage));
        if (!options.language)
            options.error = QStringLiteral("'%1' is no language; there are en and zh_CN.").arg(parser.value(kLanguage));
    }
    const LogRules made = logRules(parser.values(kLog));
    options.logRules = made.rules;
    if (options.error.isEmpty())
        options.error = made.error;
    return options;
}

Language speakAsAsked(const std::optional<Language>& chosen, QCoreApplication& application)
{
    if (chosen && !rememberLanguage(*chosen))
        qCWarning(appLog) << "The language cannot be remembered.";
    const Language language = chosen ? *chosen : rememberedLanguage();
    if (!speak(language, application))
        qCWarning(appLog).noquote() << "There are no texts in" << languageWord(language);
    return language;
}
