// own_server.h: how a device process knows a server of another one on the same machine.
#pragma once

#include <QString>

/// The path that our servers give their device: a mark of this machine as it runs now.
QString ownServerPath();

/// Whether a device with that path comes from a device process of this machine. To import it would only hand on what
/// this machine has already, and in the worst case what the importing device hands on itself.
bool isOwnServerPath(const QString& path);
