#include "emulation/link/local_device.h"

#include <algorithm>

namespace {

usbip::Speed speedOf(usb::Speed speed)
{
    switch (speed) {
    case usb::Speed::Full:
        return usbip::Speed::Full;
    case usb::Speed::High:
        return usbip::Speed::High;
    case usb::Speed::Super:
        return usbip::Speed::Super;
    }
    return usbip::Speed::Unknown;
}

std::int32_t statusOf(usb::Status status)
{
    switch (status) {
    case usb::Status::Ok:
        return usbip::status::kOk;
    case usb::Status::Stall:
        return usbip::status::kStall;
    case usb::Status::Babble:
        return usbip::status::kBabble;
    case usb::Status::NoAnswer:
        return usbip::status::kNoAnswer;
    case usb::Status::Cancelled:
        return usbip::status::kConnectionReset;
    case usb::Status::Gone:
        return usbip::status::kGone;
    }
    return usbip::status::kNoAnswer;
}

usb::Transfer::Request requestOf(usbip::Submit&& submit)
{
    usb::Transfer::Request request;
    request.id = submit.sequence;
    request.endpoint = submit.endpoint;
    request.in = submit.in;
    request.length = submit.length;
    request.setup = usb::parseSetupPacket(submit.setup);
    request.data = std::move(submit.data);
    request.startFrame = submit.startFrame;
    request.packets.reserve(submit.packets.size());
    for (const usbip::IsochronousPacket& packet : submit.packets)
        request.packets.push_back({packet.offset, packet.length, 0, usb::Status::Ok});
    return request;
}

} // namespace

LocalDevice::LocalDevice(usb::Function& function)
    : m_device(function, [this](const usb::Transfer& transfer) { completed(transfer); })
{}

usbip::DeviceSummary LocalDevice::summary() const
{
    const usb::DeviceDescriptors& device = m_device.descriptors();
    usbip::DeviceSummary summary;
    summary.speed = speedOf(device.speed);
    summary.idVendor = device.idVendor;
    summary.idProduct = device.idProduct;
    summary.bcdDevice = device.bcdDevice;
    summary.bDeviceClass = device.bDeviceClass;
    summary.bDeviceSubClass = device.bDeviceSubClass;
    summary.bDeviceProtocol = device.bDeviceProtocol;
    summary.bConfigurationValue = m_device.configuration();
    summary.bNumInterfaces = static_cast<std::uint8_t>(device.configuration.interfaces.size());
    for (const usb::Interface& interface : device.configuration.interfaces) {
        const usb::AlternateSetting& first = interface.alternates.front();
        summary.interfaces.push_back({first.bInterfaceClass, first.bInterfaceSubClass, first.bInterfaceProtocol});
    }
    return summary;
}

QByteArray LocalDevice::configurationDescriptor() const
{
    return usb::configurationDescriptor(m_device.descriptors());
}

void LocalDevice::attach(DeviceHost& host)
{
    m_host = &host;
    m_device.reset();
}

void LocalDevice::detach()
{
    m_host = nullptr;
    m_pending.clear();
    m_device.reset();
}

void LocalDevice::submit(usbip::Submit submit)
{
    m_pending[submit.sequence] = {submit.packetCount, submit.in && (submit.flags & usbip::kShortNotOk) != 0};
    m_device.submit(requestOf(std::move(submit)));
}

void LocalDevice::unlink(const usbip::Unlink& unlink)
{
    const bool wasPending = m_pending.erase(unlink.victim) != 0;
    if (wasPending)
        m_device.cancel(unlink.victim);
    m_host->reply(
        usbip::UnlinkReply{unlink.sequence, wasPending ? usbip::status::kConnectionReset : usbip::status::kOk});
}

void LocalDevice::completed(const usb::Transfer& transfer)
{
    const auto pending = m_pending.extract(transfer.request().id);
    if (!pending || !m_host)
        return;
    usbip::SubmitReply reply;
    reply.sequence = transfer.request().id;
    reply.status = statusOf(transfer.status());
    reply.actualLength = transfer.actualLength();
    reply.startFrame = transfer.request().startFrame;
    reply.packetCount = pending.mapped().packetCount;
    reply.data = transfer.dataIn();
    if (pending.mapped().shortNotOk && reply.status == usbip::status::kOk &&
        reply.actualLength < transfer.request().length)
        reply.status = usbip::status::kShort;
    reply.packets.reserve(transfer.packets().size());
    for (const usb::IsochronousPacket& packet : transfer.packets()) {
        reply.packets.push_back({packet.offset, packet.length, packet.actual, statusOf(packet.status)});
        reply.errorCount += packet.status == usb::Status::Ok ? 0 : 1;
    }
    m_host->reply(std::move(reply));
}
