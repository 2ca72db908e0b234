// device_host.h: the host of a running device while the tour watches its traffic.
#pragma once

#include "devices/device_record.h"
#include "tests/support/usbip_host.h"

/// Imports the device from its server on this machine; blocks while the event loop runs. Throws StepFailure.
class DeviceHost
{
public:
    explicit DeviceHost(const DeviceRecord& record);

    /// What every host asks first, strings included; sets the configuration.
    void enumerate();

    /// Reads the first sectors of a disk, one command each, after one that takes what the disk has to tell first.
    void readDisk(int commands);

private:
    void command(const QByteArray& block, std::uint32_t length);
    void ask(std::uint32_t length);
    usbip::SubmitReply answer();

    tests::UsbIpHost m_host;
    std::uint32_t m_tag = 0;
};
