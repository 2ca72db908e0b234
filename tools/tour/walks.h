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

/// What those dialogs say no to, and their tests while they run.
void walkSettingsWarnings(Tour& tour);
