// ask_to_end.h: asks a process of a test to end, in the way that the system asks console programs.
#pragma once

#include <QProcess>

/// For a process that is not started yet: from its start askToEnd() reaches it, and nobody else.
void makeAskable(QProcess& process);

/// The process may do what it likes with the request. False when the system did not deliver it.
bool askToEnd(const QProcess& process);
