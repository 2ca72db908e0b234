#include "runtime/language.h"

#include "runtime/user_folder.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTranslator>

#include <memory>

namespace {

const QString kEnglish = QStringLiteral("en");
const QString kChinese = QStringLiteral("zh_CN");
const QString kTranslatorName = QStringLiteral("plugboardTranslator");

const QString kLanguageKey = QStringLiteral("language");

bool install(const QString& catalogue, QCoreApplication& application)
{
    auto translator = std::make_unique<QTranslator>(&application);
    translator->setObjectName(kTranslatorName);
    if (!translator->load(QStringLiteral(":/translations/") + catalogue))
        return false;
    return QCoreApplication::installTranslator(translator.release());
}

} // namespace

std::optional<Language> languageFromWord(const QString& word)
{
    if (word == kEnglish)
        return Language::English;
    if (word == kChinese)
        return Language::SimplifiedChinese;
    return std::nullopt;
}

QString languageWord(Language language)
{
    return language == Language::SimplifiedChinese ? kChinese : kEnglish;
}

Language rememberedLanguage()
{
    const QSettings kept(settingsFile(), QSettings::IniFormat);
    return languageFromWord(kept.value(kLanguageKey).toString()).value_or(Language::English);
}

bool rememberLanguage(Language language)
{
    QSettings kept(settingsFile(), QSettings::IniFormat);
    kept.setValue(kLanguageKey, languageWord(language));
    kept.sync();
    return kept.status() == QSettings::NoError;
}

bool speak(Language language, QCoreApplication& application)
{
    const auto earlier = application.findChildren<QTranslator*>(kTranslatorName, Qt::FindDirectChildrenOnly);
    for (QTranslator* translator : earlier) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
    if (language == Language::English)
        return true;
    install(QStringLiteral("qtbase_zh_CN.qm"), application); // its own texts, such as those of standard buttons
    return install(QStringLiteral("plugboard_zh_CN.qm"), application);
}
