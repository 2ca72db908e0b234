// host_nodes.h: what this machine's drivers made of a USB device. Implemented per system.
#pragma once

#include <QStringList>

/// Paths of the nodes ("/dev/input/event5", "/dev/sdb") of the device at that place in the machine's tree ("3-1"),
/// sorted; without those of the USB device as such. Empty while there are none, and on systems without such nodes.
QStringList hostNodes(const QString& busId);
