#include "capture/channel/packet_view.h"

namespace {

QByteArray copied(std::string_view bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

QByteArray borrowed(std::string_view bytes)
{
    return bytes.empty() ? QByteArray() : QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
}

QString textOf(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

UsbIPPacketInfo withoutBytes(const PacketView& view)
{
    UsbIPPacketInfo packet;
    packet.timestamp = view.timestamp;
    packet.deviceId = view.deviceId;
    packet.sequenceNumber = view.sequenceNumber;
    packet.isRequest = view.isRequest;
    packet.isUnlink = view.isUnlink;
    packet.endpoint = view.endpoint;
    packet.direction = view.direction;
    packet.command = view.command;
    packet.transferLength = view.transferLength;
    packet.transferType = view.transferType;
    packet.protocolInfo = textOf(view.protocolInfo);
    packet.parsedDetails = textOf(view.parsedDetails);
    return packet;
}

} // namespace

UsbIPPacketInfo PacketView::copy() const
{
    UsbIPPacketInfo packet = withoutBytes(*this);
    packet.data = copied(data);
    packet.setupData = copied(setupData);
    packet.usbipHeader = copied(usbipHeader);
    return packet;
}

UsbIPPacketInfo PacketView::borrow() const
{
    UsbIPPacketInfo packet = withoutBytes(*this);
    packet.data = borrowed(data);
    packet.setupData = borrowed(setupData);
    packet.usbipHeader = borrowed(usbipHeader);
    return packet;
}
