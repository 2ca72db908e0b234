// request_command.h: "--request PID OPERATION [--rp ID] [--rp-name NAME] [--user NAME] [--display-name NAME]".
#pragma once

#include <QStringList>

/// Makes the security key of a running device process ask its user, waits up to two minutes for the answer and prints
/// it as one line of JSON. `arguments` are those after "--request". The exit status: 0 for an answer, 1 without one, 2
/// for a wrong command line.
int runRequestCommand(const QStringList& arguments);
