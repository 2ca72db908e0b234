// exported_device.h: a device as the link hands it to a host, whether it is made here or far away.
#pragma once

#include "emulation/link/usbip_messages.h"

/// Where the answers of a device go while a host has it.
class DeviceHost
{
public:
    virtual ~DeviceHost() = default;
    virtual void reply(usbip::SubmitReply reply) = 0;
    virtual void reply(usbip::UnlinkReply reply) = 0;
};

/// Answers each submission once, and each unlink once; a submission that was taken back while it was pending is
/// answered by the unlink's reply alone. All on the event loop's thread.
class ExportedDevice
{
public:
    virtual ~ExportedDevice() = default;

    /// Path, bus id and numbers are the link's and not set.
    virtual usbip::DeviceSummary summary() const = 0;

    /// All bytes of the configuration; empty while they are not known.
    virtual QByteArray configurationDescriptor() const = 0;

    /// A host takes the device; it is as after power-on. One at a time; `host` lives until detach().
    virtual void attach(DeviceHost& host) = 0;
    /// The host is gone, and all that it asked for.
    virtual void detach() = 0;

    virtual void submit(usbip::Submit submit) = 0;
    virtual void unlink(const usbip::Unlink& unlink) = 0;
};
