// setting_rules.h: settings that a script gives as NAME=VALUE.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

/// One setting by its name, and what its value must be.
template<typename Settings>
struct SettingRule
{
    const char* name;
    const char* expected; ///< completes "expected ..."

    /// Takes the value over; false when it is not one.
    bool (*apply)(Settings& settings, const QString& value);
};

/// Settings that were read, or the sentence that says what is wrong with them.
template<typename Settings>
struct SettingsReading
{
    std::optional<Settings> settings;
    QString error;
};

/// Values by name.
using Assignments = QMap<QString, QString>;

struct AssignmentsReading
{
    Assignments values;
    QString error; ///< empty when all could be read
};

/// Splits each text at its first "=". A text without one, a name that is not in `names` and a name that comes twice are
/// errors.
AssignmentsReading readAssignments(const QStringList& texts, const QStringList& names);

QString badValueError(const QString& name, const QString& value, const QString& expected);

template<typename Settings>
QStringList settingNames(const std::vector<SettingRule<Settings>>& rules)
{
    QStringList names;
    for (const auto& rule : rules)
        names << QString::fromLatin1(rule.name);
    return names;
}

/// Applies `values` in the order of the rules, so that the order in which a script gives them does not matter.
template<typename Settings>
SettingsReading<Settings> applyRules(const std::vector<SettingRule<Settings>>& rules, const Assignments& values)
{
    Settings settings;
    for (const auto& rule : rules) {
        const QString name = QString::fromLatin1(rule.name);
        const auto value = values.find(name);
        if (value != values.end() && !rule.apply(settings, *value))
            return {std::nullopt, badValueError(name, *value, QString::fromLatin1(rule.expected))};
    }
    return {std::move(settings), {}};
}

/// The texts that `reads` accepts, each for itself. A value that a dialog accepts and a script may not give is left
/// out.
template<typename Reads>
QStringList readableAssignments(const Assignments& values, Reads reads)
{
    QStringList texts;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QString text = value.key() + QLatin1Char('=') + *value;
        if (reads(QStringList{text}).settings)
            texts << text;
    }
    return texts;
}

/// "on" or "off".
QString switchText(bool on);

/// Puts `value` into `field` and returns `isValid`.
bool take(QString& field, const QString& value, bool isValid);

/// "on" or "off" into `flag`; false for anything else.
bool readSwitch(const QString& value, bool& flag);

/// Makes a script's path absolute, from the folder in which it runs. URLs and an empty text stay as they are.
QString sourceFromScript(const QString& value);
