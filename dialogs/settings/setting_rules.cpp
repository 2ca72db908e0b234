#include "dialogs/settings/setting_rules.h"

#include <QDir>

AssignmentsReading readAssignments(const QStringList& texts, const QStringList& names)
{
    AssignmentsReading reading;
    for (const QString& text : texts) {
        const int equals = text.indexOf(QLatin1Char('='));
        if (equals < 0)
            return {{}, QStringLiteral("'%1' is not of the form NAME=VALUE.").arg(text)};
        const QString name = text.left(equals);
        if (!names.contains(name))
            return {{},
                    QStringLiteral("Unknown setting '%1'; there are %2.").arg(name, names.join(QStringLiteral(", ")))};
        if (reading.values.contains(name))
            return {{}, QStringLiteral("Setting '%1' is given twice.").arg(name)};
        reading.values.insert(name, text.mid(equals + 1));
    }
    return reading;
}

QString badValueError(const QString& name, const QString& value, const QString& expected)
{
    return QStringLiteral("'%1' is no value for %2; expected %3.").arg(value, name, expected);
}

bool take(QString& field, const QString& value, bool isValid)
{
    field = value;
    return isValid;
}

QString switchText(bool on)
{
    return on ? QStringLiteral("on") : QStringLiteral("off");
}

bool readSwitch(const QString& value, bool& flag)
{
    flag = value == QLatin1String("on");
    return flag || value == QLatin1String("off");
}

QString sourceFromScript(const QString& value)
{
    if (value.isEmpty() || value.contains(QLatin1String("://")))
        return value;
    return QDir::cleanPath(QDir::current().absoluteFilePath(value));
}
