// log_levels.h: which log lines are kept, as the command line says it.
#pragma once

#include <QString>
#include <QStringList>

/// Rules for QLoggingCategory::setFilterRules(), or the sentence that says what is wrong.
struct LogRules
{
    QString rules;
    QString error;
};

/// The categories, one a subsystem.
QStringList logCategories();

/// Each of `levels` is LEVEL, for all categories, or CATEGORY=LEVEL, where LEVEL is the least that is kept: debug,
/// info, warning or critical. Several stand in one text with commas between them; a later one wins. Without any, info.
LogRules logRules(const QStringList& levels);
