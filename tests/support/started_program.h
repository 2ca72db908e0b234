// started_program.h: a window program from its start to its end, with someone who answers its boxes.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

struct ProgramOutput
{
    int exitCode = -1; ///< also when it did not end within a minute
    QByteArray out;
    QByteArray error;
};

/// Runs the program of that name beside the test until it ends, with its settings and logs in `userData` unless that is
/// empty.
ProgramOutput runBesideTest(const char* name, const QStringList& arguments, const QString& userData = {});

/// Full path of a program beside the test.
QString programBesideTest(const char* name);

constexpr const char* kUserFolderVariable = "PLUGBOARD_USER_FOLDER";
constexpr const char* kSeenFile = "seen.txt";
constexpr const char* kSeenPicture = "seen-%1.png"; ///< numbered from 1, one for each line of kSeenFile

struct RunByUser
{
    int exitCode = 0; ///< as a shell shows it, 0 to 255 on every system; -1 when the program did not end
    QStringList seen; ///< "TITLE: TEXT" of each box, "window TITLE" of the main window
};

/// Runs `program` until it ends. `answers` are the standard buttons to press, "Yes" or "No", one for each box in turn;
/// whatever names no button of the box closes it. The main window is closed as soon as it is there. What was seen, with
/// pictures, is left in `folder`, which holds the program's settings and logs too. The plug-in that does it lies in
/// plugins/generic beside the running program.
RunByUser runWithUser(const QString& program, const QStringList& arguments, const QStringList& answers,
                      const QString& folder);
