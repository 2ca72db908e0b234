// local_device.h: a device of this process, for the link.
#pragma once

#include "emulation/link/exported_device.h"
#include "emulation/usb/device.h"

#include <map>
#include <optional>

/// Turns the link's messages into transfers of a usb::Device and back.
class LocalDevice final : public ExportedDevice
{
public:
    /// The function must outlive it.
    explicit LocalDevice(usb::Function& function);

    usbip::DeviceSummary summary() const override;
    QByteArray configurationDescriptor() const override;
    void attach(DeviceHost& host) override;
    void detach() override;
    void submit(usbip::Submit submit) override;
    void unlink(const usbip::Unlink& unlink) override;

private:
    /// What the reply repeats of the submission.
    struct Pending
    {
        std::int32_t packetCount = 0;
        bool shortNotOk = false;
    };

    void completed(const usb::Transfer& transfer);

    usb::Device m_device;
    DeviceHost* m_host = nullptr;
    std::map<std::uint32_t, Pending> m_pending; // by sequence; none for what was taken back
};
