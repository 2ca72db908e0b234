// function.h: what a device does, apart from what every USB device does alike.
#pragma once

#include "emulation/usb/descriptors.h"
#include "emulation/usb/transfer.h"

namespace usb {

/// A keyboard, a disk, a camera: the part of a device that knows its class. It knows nothing of links and sockets. All
/// calls come on the event loop's thread; a function that needs another thread hands over by a queue of its own.
///
/// The device in front of it (usb::Device) answers every standard request from the descriptors, checks that a transfer
/// goes to an endpoint of the selected alternate settings and in the right direction, keeps halted endpoints (a
/// transfer completed with Stall halts its endpoint until the host clears it), and never lets a request through before
/// a configuration is set, except control requests to the device.
class Function
{
public:
    virtual ~Function() = default;

    /// The same for as long as the function lives.
    virtual const DeviceDescriptors& descriptors() const = 0;

    /// A class or vendor request, or GET_DESCRIPTOR for a descriptor of a class (HID's report descriptor, for example).
    /// OUT data have arrived. Stall refuses it.
    virtual void controlRequest(const TransferPointer& transfer) = 0;

    /// A transfer on an endpoint other than 0.
    virtual void submit(const TransferPointer& transfer) = 0;

    /// The host took a transfer back that is not completed; it is marked as completed when this is called. What was
    /// begun for it is dropped.
    virtual void cancelled(const Transfer& transfer) = 0;

    /// SET_CONFIGURATION: 0 is none. All transfers of the function were cancelled before.
    virtual void configurationSelected(std::uint8_t value) { static_cast<void>(value); }

    /// SET_INTERFACE, also with the setting that is selected already, and for every interface with 0 after
    /// configurationSelected(). The transfers of its endpoints were cancelled before.
    virtual void alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate)
    {
        static_cast<void>(interfaceNumber);
        static_cast<void>(alternate);
    }

    /// CLEAR_FEATURE(ENDPOINT_HALT), whether it was halted or not.
    virtual void haltCleared(std::uint8_t endpointAddress) { static_cast<void>(endpointAddress); }

    /// A bus reset, or the host is gone: as after power-on. All transfers were cancelled before.
    virtual void reset() {}
};

} // namespace usb
