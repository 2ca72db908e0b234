#include "runtime/log_levels.h"

namespace {

const QStringList& levelNames()
{
    static const QStringList names{QStringLiteral("debug"), QStringLiteral("info"), QStringLiteral("warning"),
                                   QStringLiteral("critical")};
    return names;
}

/// One rule a kind of message, for the category itself and for those below it.
QString rulesFor(const QString& category, int least)
{
    QString rules;
    for (const QString& pattern : {category, category + QStringLiteral(".*")}) {
        for (int level = 0; level < levelNames().size(); ++level)
            rules += QStringLiteral("%1.%2=%3\n")
                         .arg(pattern, levelNames().at(level),
                              level >= least ? QStringLiteral("true") : QStringLiteral("false"));
    }
    return rules;
}

} // namespace

QStringList logCategories()
{
    return {QStringLiteral("plugboard.app"),     QStringLiteral("plugboard.capture"),
            QStringLiteral("plugboard.devices"), QStringLiteral("plugboard.driver"),
            QStringLiteral("plugboard.fido2"),   QStringLiteral("plugboard.media")};
}

LogRules logRules(const QStringList& levels)
{
    LogRules made{rulesFor(QStringLiteral("plugboard"), levelNames().indexOf(QStringLiteral("info"))), {}};
    const QStringList parts = levels.isEmpty() ? levels : levels.join(QLatin1Char(',')).split(QLatin1Char(','));
    for (const QString& part : parts) {
        const int equals = part.indexOf(QLatin1Char('='));
        const QString category = part.left(qMax(equals, 0)).trimmed();
        const int level = levelNames().indexOf(part.mid(equals + 1).trimmed());
        if (level < 0)
            return {{},
                    QStringLiteral("'%1' is no log level; there are %2.")
                        .arg(part.mid(equals + 1), levelNames().join(QStringLiteral(", ")))};
        if (equals >= 0 && !logCategories().contains(category))
            return {{},
                    QStringLiteral("Unknown log category '%1'; there are %2.")
                        .arg(category, logCategories().join(QStringLiteral(", ")))};
        made.rules += rulesFor(equals < 0 ? QStringLiteral("plugboard") : category, level);
    }
    return made;
}
