// device_end.h: how a device process ended.
#pragma once

#include <QString>

struct DeviceEnd
{
    bool isCrash = false; ///< or it was killed
    int exitCode = 0;
    QString
        lastLine; ///< the last that it printed to its standard error, as it can be shown; empty when it said nothing
};
