// crash_note.h: what a crash of this program leaves behind.
#pragma once

#include <QByteArray>
#include <QString>

/// From here on, a crash of the process (a memory fault, an uncaught exception, an abort) writes the file `path`:
/// `heading`, what happened, and the stack of the thread that crashed as frames of module and offset, which the
/// debugging information of that very build turns into lines. Then the process ends as it would have ended without. The
/// file is made at the crash, readable by its owner only, unless it exists. Call once, early, on the main thread.
void leaveCrashNote(const QString& path, const QByteArray& heading);
