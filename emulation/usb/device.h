// device.h: a USB device as its host meets it: endpoint 0, configuration, alternate settings, halted endpoints.
#pragma once

#include "emulation/usb/function.h"

#include <map>
#include <set>

namespace usb {

/// Answers the standard requests of USB 2.0 and 3.2, chapter 9, from the function's descriptors, and hands the rest to
/// the function. Belongs to the event loop's thread. Knows nothing of how requests reach it.
class Device
{
public:
    /// `completed` is called once for each submitted transfer, perhaps before submit() returns. The function must
    /// outlive the device.
    Device(Function& function, Transfer::Completed completed);
    /// What is pending is completed with Gone, and `completed` not called for it.
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// `request.type` is set here. Its id must not be pending. OUT data are as long as request.length.
    void submit(Transfer::Request request);

    /// The host takes a transfer back: it is completed with Cancelled. False when none of that id is pending.
    bool cancel(std::uint32_t id);

    bool isPending(std::uint32_t id) const { return m_pending.count(id) != 0; }

    /// A bus reset, or the host is gone: everything pending is cancelled, and the device is as after power-on.
    void reset();

    /// 0 while none is set.
    std::uint8_t configuration() const { return m_configuration; }
    std::uint8_t alternate(std::uint8_t interfaceNumber) const;
    bool isHalted(std::uint8_t endpointAddress) const { return m_halted.count(endpointAddress) != 0; }

    const DeviceDescriptors& descriptors() const { return m_function.descriptors(); }

private:
    void submitControl(const TransferPointer& transfer);
    void submitData(const TransferPointer& transfer);
    void standardRequest(const TransferPointer& transfer);
    void getStatus(const TransferPointer& transfer);
    void changeFeature(const TransferPointer& transfer, bool set);
    bool changeDeviceFeature(std::uint16_t feature, bool set);
    void getDescriptor(const TransferPointer& transfer);
    void setConfiguration(const TransferPointer& transfer);
    void getInterface(const TransferPointer& transfer);
    void setInterface(const TransferPointer& transfer);
    void transferCompleted(const Transfer& transfer);

    using Chosen = std::function<bool(const Transfer&)>;
    /// Completes what is pending and chosen, and tells the function.
    void takeBack(Status status, const Chosen& chosen);

    const Interface* findInterface(std::uint16_t wIndex) const; ///< of the set configuration
    const Endpoint* findEndpoint(std::uint8_t address) const;   ///< of the selected alternate settings
    bool knowsEndpoint(std::uint16_t wIndex) const;             ///< 0, or of any alternate setting
    bool reachesFunction(const SetupPacket& setup) const;

    Function& m_function;
    Transfer::Completed m_completed;
    std::map<std::uint32_t, TransferPointer> m_pending;
    std::uint8_t m_configuration = 0;
    std::map<std::uint8_t, std::uint8_t> m_alternates;
    std::set<std::uint8_t> m_halted;
    std::set<std::uint16_t> m_features; ///< of the device, those that are set
};

} // namespace usb
