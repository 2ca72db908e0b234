#include "capture/packet_details.h"

#include "capture/hex_text.h"
#include "capture/packet_decoder.h"
#include "capture/protocol_names.h"

#include <QDateTime>

namespace {

constexpr int kHexLimit = 128; // bytes

QString byteCount(qint64 count)
{
    return QStringLiteral("%1 bytes").arg(count);
}

void addBasicInformation(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(packet.timestamp);
    DetailRow& group = parent.add(QStringLiteral("Basic Information"));
    group.add(QStringLiteral("Timestamp"), time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")));
    group.add(QStringLiteral("Packet Type"), packet.isRequest ? QStringLiteral("REQUEST") : QStringLiteral("REPLY"));
    group.add(QStringLiteral("Device ID"), QString::number(packet.deviceId));
    group.add(QStringLiteral("Sequence Number"), QString::number(packet.sequenceNumber));
    group.add(QStringLiteral("Command"), hexNumber(packet.command, 4));
    group.add(QStringLiteral("Endpoint"), hexNumber(packet.endpoint, 2));
    group.add(QStringLiteral("Endpoint Type"), detail_names::transferType(packet.transferType));
    group.add(QStringLiteral("Direction"), packet.direction != 0 ? QStringLiteral("IN") : QStringLiteral("OUT"));
    group.add(QStringLiteral("Transfer Length"), byteCount(packet.transferLength));
    group.add(QStringLiteral("Is Unlink"), packet.isUnlink ? QStringLiteral("Yes") : QStringLiteral("No"));
}

void addSetup(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    if (packet.setupData.isEmpty())
        parent.add(QStringLiteral("Setup Data"), QStringLiteral("No setup data available"));
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
    DetailRow& group = parent.add(QStringLiteral("Data"));
    group.add(QStringLiteral("Length"), byteCount(packet.data.size()));
    group.add(QStringLiteral("Data (Hex)"), hexText(packet.data, kHexLimit));
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
        top.add(QStringLiteral("Protocol Info")).add(QStringLiteral("Info"), packet.protocolInfo);
    if (!packet.parsedDetails.isEmpty())
        top.add(QStringLiteral("Parsed Details")).add(QStringLiteral("Details"), packet.parsedDetails);
    return top;
}
