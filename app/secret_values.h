// secret_values.h: settings that a script keeps off the command line, where every user of the machine reads them.
#pragma once

#include <QStringList>

/// Texts as --set takes them, or the sentence that says what is wrong with them.
struct AssignmentsOfScript
{
    QStringList texts;
    QString error; ///< never says what was read
};

/// `assignments` with the first line of FILE for "source=@FILE", whose name counts from the current folder, and that of
/// standard input for "source=-". Other settings stay as they are: a name may begin with "@".
AssignmentsOfScript withSecretValues(const QStringList& assignments);
