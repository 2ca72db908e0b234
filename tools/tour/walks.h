// walks.h: the parts of the tour, one function per feature.
#pragma once

class Tour;

/// The question about the bus driver, refused and accepted.
void walkFirstStart(Tour& tour);

/// Creating, restoring, deleting and refreshing devices.
void walkDevices(Tour& tour);
