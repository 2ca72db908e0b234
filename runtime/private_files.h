// private_files.h: what the programs write is for the user who runs them, alone.
#pragma once

#include <QString>

/// New files and folders of this process, and of those that it starts, are for its user alone whatever the user's own
/// settings say. On Windows a new file gets the rights that its folder hands down, and restrictToOwner() narrows them.
/// Before any file is made.
void keepNewFilesPrivate();

/// Takes all others' rights to an existing file away: mode 0600, on Windows an access list of the user alone that takes
/// nothing from the folder. False when the system refuses. Any thread.
bool restrictToOwner(const QString& path);
