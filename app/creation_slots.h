// creation_slots.h: the creation slot of each device type, reached by name.
#pragma once

#include "devices/device_type.h"

#include <QByteArray>

#include <vector>

class QObject;

/// Name of the main window's slot that creates a device of that type.
QByteArray creationSlot(DeviceType type);

/// Invokes the creation slots of `types` on `window` in order, each in an event-loop turn of its own.
void invokeCreationSlots(QObject* window, std::vector<DeviceType> types);
