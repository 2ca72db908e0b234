// device_link.h: the ways out of the process, in their order.
#pragma once

#include "emulation/link/host_way.h"

#include <QObject>

/// Which ways may be taken. Devices take both; tests and PLUGBOARD_HOST choose.
enum class HostChoice
{
    Any,    ///< the kernel's controller, else the server
    Kernel, ///< nothing else
    Server, ///< nothing else
    None,   ///< no host at all
};

/// From the environment variable PLUGBOARD_HOST: "kernel", "server", "none"; Any for everything else.
HostChoice hostChoice();

/// Brings one device to hosts. Lives on the event loop's thread.
class DeviceLink : public QObject
{
    Q_OBJECT

public:
    /// The device and `tap`, which may be null, outlive it. `deviceNumber` is 1 to 127.
    DeviceLink(ExportedDevice& device, std::uint32_t deviceNumber, TrafficTap* tap, HostChoice choice = hostChoice());
    ~DeviceLink() override;

    /// As when its plug is put in, and pulled. Nothing happens when it is so already.
    void plugIn();
    void unplug();

    HostState state() const;

signals:
    void stateChanged();

private:
    void tryKernel();
    void tryServer(const QString& note);

    std::unique_ptr<HostWay> m_kernel; // null where there is none
    std::unique_ptr<HostWay> m_server; // null where it may not be taken
    HostWay* m_way = nullptr;          // the one that is taken
    QString m_note;                    // why the ways before it were not
};
