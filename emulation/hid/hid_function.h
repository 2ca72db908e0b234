// hid_function.h: what devices of the class HID have in common (HID 1.11): descriptors, class requests, reports.
#pragma once

#include "emulation/function/device_function.h"
#include "emulation/hid/input_pipe.h"
#include "emulation/hid/report_descriptor.h"

#include <QString>

#include <optional>

namespace hid {

/// bInterfaceProtocol of boot devices.
enum class BootDevice : std::uint8_t
{
    Keyboard = 1,
    Mouse = 2
};

/// A device with one interface and reports without ids. The reports of a boot device are the same in both protocols,
/// except that the boot protocol leaves out what a boot host does not know at their end.
class HidFunction : public DeviceFunction
{
public:
    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer) override;
    void submit(const usb::TransferPointer& transfer) override;
    void cancelled(const usb::Transfer& transfer) override;
    void configurationSelected(std::uint8_t value) override;
    void reset() override { configurationSelected(0); }

protected:
    struct Kind
    {
        std::optional<BootDevice> boot;      ///< nothing: it has no boot protocol
        int bootReportSize;                  ///< bytes of an input report in the boot protocol
        InputPipe::Milliseconds idle;        ///< until the host sets another
        QByteArray reportDescriptor;         ///< faultless
        InputPipe::Milliseconds interval{4}; ///< of the endpoints, a power of two
    };

    /// Of `identity` the ids, the version of USB and the names are taken; a device of USB 3 is a SuperSpeed one.
    HidFunction(usb::DeviceDescriptors identity, Kind kind);

    /// The state after power-on: nothing pressed.
    virtual void forgetState() = 0;
    /// An output report of the length that the report descriptor gives it.
    virtual void takeOutput(const QByteArray& report) { static_cast<void>(report); }
    /// The last output report that was taken; for hosts that ask.
    virtual QByteArray outputState() const { return {}; }

    bool isConfigured() const { return m_configured; }
    InputPipe& input() { return m_input; }
    const InputPipe& input() const { return m_input; }
    /// A sentence when no host uses the device, or it has not fetched what was sent before, so that `reports` more have
    /// no room.
    QString refusal(int reports) const;
    /// The end of every answer to "status".
    QString pipeStatus() const;

private:
    void restart(bool configured);
    QByteArray classDescriptor() const;
    void getDescriptor(const usb::TransferPointer& transfer) const;
    void getReport(const usb::TransferPointer& transfer) const;
    void setReport(const usb::TransferPointer& transfer);
    void setIdle(const usb::TransferPointer& transfer);
    void setProtocol(const usb::TransferPointer& transfer);

    const Kind m_kind;
    const ReportSizes m_sizes;
    usb::DeviceDescriptors m_descriptors;
    InputPipe m_input;
    bool m_configured = false;
    bool m_bootProtocol = false;
};

} // namespace hid
