// private_files.h: what the programs write is for the user who runs them, alone.
#pragma once

/// New files and folders of this process, and of those that it starts, are for its user alone whatever the user's own
/// settings say. On Windows a new file has the rights that its folder hands down. Before any file is made.
void keepNewFilesPrivate();
