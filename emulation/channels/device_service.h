// device_service.h: what a device process does for its device once it knows it.
#pragma once

#include "emulation/message/device_description.h"

/// All that a service may know about its process.
struct DeviceContext
{
    DeviceDescription device;
    qint64 processId = 0;
    QString folder; ///< of the program, without a separator at its end; records and key files live below it
};

/// Lives from the moment its device is known to the end of the process, on the main thread. A destructor leaves nothing
/// behind that says the device still runs; a killed process runs none.
class DeviceService
{
public:
    virtual ~DeviceService() = default;

    /// Called once, with the event loop running. Empty, or the sentence that ends the process.
    virtual QString start() = 0;
};
