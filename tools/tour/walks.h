// walks.h: the parts of the tour, one function per feature.
#pragma once

class Tour;

/// Creating, restoring, deleting and refreshing devices.
void walkDevices(Tour& tour);
