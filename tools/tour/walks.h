// walks.h: the parts of the tour, one function per feature.
#pragma once

class Tour;

/// The question about the bus driver, refused and accepted.
void walkFirstStart(Tour& tour);

/// Creating, restoring, deleting and refreshing devices.
void walkDevices(Tour& tour);

/// A security key from its settings to its deletion: sign-in, registration, denial, PIN, clearing.
void walkSecurityKey(Tour& tour);

/// Cameras and microphones from files and streams, through their dialogs.
void walkSettings(Tour& tour);

/// Playing a source, moving its picture by commands, writing its sound and its pictures into files.
void walkMedia(Tour& tour);

/// Packet capture of real device processes: live traffic, filter, details, configuration, files, loss and return.
void walkPacketCapture(Tour& tour);
