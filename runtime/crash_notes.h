// crash_notes.h: where notes of crashes lie and which have not been told of yet.
#pragma once

#include <QStringList>

/// For leaveCrashNote(), in `folder`: the note of this process.
QString crashNotePath(const QString& folder, const QString& program);

/// Notes of `program` that no call has returned before, oldest first, under the names that they keep from now on. Only
/// the newest ten notes are kept; older ones are deleted.
QStringList takeNewCrashNotes(const QString& folder, const QString& program);
