#include "capture/decode/packet_details.h"

#include "capture/decode/detail_names.h"
#include "capture/decode/hex_text.h"
#include "capture/decode/packet_decoder.h"

#include <QCoreApplication>
#include <QDateTime>

namespace {

constexpr int kHexLimit = 128; // bytes

/// The window's own rows are translated; what the decoders say of the protocol is not.
struct PacketDetails
{
    Q_DECLARE_TR_FUNCTIONS(PacketDetails)
};

QString byteCount(qint64 count)
{
    return PacketDetails::tr("%1 bytes").arg(count);
}

void addBasicInformation(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(packet.timestamp);
    DetailRow& group = parent.add(PacketDetails::tr("Basic Information"));
    group.add(PacketDetails::tr("Timestamp"), time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")));
    group.add(PacketDetails::tr("Packet Type"), packet.isRequest ? QStringLiteral("REQUEST") : QStringLiteral("REPLY"));
    group.add(PacketDetails::tr("Device ID"), QString::number(packet.deviceId));
    group.add(PacketDetails::tr("Sequence Number"), QString::number(packet.sequenceNumber));
    group.add(PacketDetails::tr("Command"), hexNumber(packet.command, 4));
    group.add(PacketDetails::tr("Endpoint"), hexNumber(packet.endpoint, 2));
    group.add(PacketDetails::tr("Endpoint Type"), detail_names::transferType(packet.transferType));
    group.add(PacketDetails::tr("Direction"), packet.direction != 0 ? QStringLiteral("IN") : QStringLiteral("OUT"));
    group.add(PacketDetails::tr("Transfer Length"), byteCount(packet.transferLength));
    group.add(PacketDetails::tr("Is Unlink"), packet.isUnlink ? PacketDetails::tr("Yes") : PacketDetails::tr("No"));
}

void addSetup(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    if (packet.setupData.isEmpty())
        parent.add(PacketDetails::tr("Setup Data"), PacketDetails::tr("No setup data available"));
    else
        packet_decoder::decodeSetup(packet.setupData, parent);
}

void addBulk(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    if (packet_decoder::isBulkOnly(packet.data))
        packet_decoder::decodeBulkOnly(packet.data, parent);
    else
        packet_decoder::decodeAttachedScsi(packet.data, parent);
}

void addPlainData(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    DetailRow& group = parent.add(PacketDetails::tr("Data"));
    group.add(PacketDetails::tr("Length"), byteCount(packet.data.size()));
    group.add(PacketDetails::tr("Data (Hex)"), hexText(packet.data, kHexLimit));
}

} // namespace

DetailRow packetDetails(const UsbIPPacketInfo& packet)
{
    DetailRow top;
    addBasicInformation(packet, top);
    switch (packet.transferType) {
    case ControlTransfer:
        addSetup(packet, top);
        break;
    case IsochronousTransfer:
        packet_decoder::decodeIsochronous(packet.data, top);
        break;
    case BulkTransfer:
        addBulk(packet, top);
        break;
    default:
        addPlainData(packet, top);
        break;
    }
    if (!packet.protocolInfo.isEmpty())
        top.add(PacketDetails::tr("Protocol Info")).add(PacketDetails::tr("Info"), packet.protocolInfo);
    if (!packet.parsedDetails.isEmpty())
        top.add(PacketDetails::tr("Parsed Details")).add(PacketDetails::tr("Details"), packet.parsedDetails);
    return top;
}
