// socket_place.h: where a local server's socket lies in the file system.
#pragma once

#include <QString>

/// Whether a server of this name may come into being: nothing is in its place, or a socket that it takes over. A file
/// is never replaced. True where servers have no place in the file system.
bool isPlaceFree(const QString& serverName);
