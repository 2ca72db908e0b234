// running_device.h: a device and all that its process does for it.
#pragma once

#include "emulation/channels/capture_server.h"
#include "emulation/channels/command_server.h"
#include "emulation/channels/record_keeper.h"
#include "emulation/function/device_function.h"
#include "emulation/link/device_link.h"
#include "emulation/link/remote_device.h"

/// Made once the device is known; destroyed, it leaves nothing behind that says the device still runs.
class RunningDevice
{
public:
    explicit RunningDevice(const DeviceContext& context);
    ~RunningDevice();

    /// With the event loop running. Empty, or the sentence that ends the process.
    QString start();

private:
    QString makeDevice();
    void makeRemoteDevice();
    void remoteChanged(bool isThere);
    void plug(bool in);
    QString startChannels();
    void run(const QString& command, const CommandServer::Answer& answer);
    QString status() const;
    HostState hostState() const;
    void tellHost();

    DeviceContext m_context;
    std::unique_ptr<DeviceFunction> m_function; // null for types without one
    std::unique_ptr<ExportedDevice> m_device;   // null if there is nothing to hand to a host
    RemoteDevice* m_remote = nullptr;           // the device, if it is another machine's
    bool m_isPluggedIn = true;                  // it is to be handed to a host whenever it is there
    bool m_wasThere = false;                    // the other machine's device
    std::unique_ptr<CaptureServer> m_capture;
    std::unique_ptr<DeviceLink> m_link; // null like m_device
    std::unique_ptr<CommandServer> m_commands;
    std::unique_ptr<RecordKeeper> m_record;
};
