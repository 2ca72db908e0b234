// walks.h: the parts of the tour, one function per feature.
#pragma once

class Tour;

/// The question about the bus driver, refused and accepted.
void walkFirstStart(Tour& tour);

/// Creating, restoring, deleting and refreshing devices.
void walkDevices(Tour& tour);

/// A security key from its settings to its clearing: sign-in, registration, PIN.
void walkSecurityKey(Tour& tour);

/// Cameras and microphones from files and streams, through their dialogs.
void walkSettings(Tour& tour);

/// Playing a source, placing its picture by commands.
void walkMedia(Tour& tour);

/// Packet capture of a device process: live traffic, filter, details, configuration, files.
void walkPacketCapture(Tour& tour);
