// creation_slots.h: the creation slot of each device type, reached by name.
#pragma once

#include "devices/device_type.h"

#include <QByteArray>
#include <QStringList>

#include <vector>

class QObject;

/// Name of the main window's slot that creates a device of that type.
QByteArray creationSlot(DeviceType type);

/// A device that the command line asks for.
struct CreationRequest
{
    DeviceType type = DeviceType::Camera;
    QStringList parameters = {}; ///< its parameter list; empty: the creation slot finds out what to create
};

/// Creates the devices on `window` in order, each in an event-loop turn of its own: those with parameters through its
/// slot CallUsbDaemon, the others through the creation slot of their type.
void invokeCreationSlots(QObject* window, std::vector<CreationRequest> requests);
