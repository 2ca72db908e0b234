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

    /// Takes the reports of a keyboard while it types: `type` has it press that many keys.
    template<typename Type>
    void takeReports(int keys, Type type)
    {
        for (int report = 0; report < 2 * keys; ++report)
            ask(kReportSize, kInterval);
        type();
        for (int report = 0; report < 2 * keys; ++report)
            answer();
    }

private:
    static constexpr std::uint32_t kReportSize = 8;
    static constexpr std::uint32_t kInterval = 4; // of an interrupt endpoint; others have none

    void command(const QByteArray& block, std::uint32_t length);
    void ask(std::uint32_t length, std::uint32_t interval = 0);
    usbip::SubmitReply answer();

    tests::UsbIpHost m_host;
    std::uint32_t m_tag = 0;
};
