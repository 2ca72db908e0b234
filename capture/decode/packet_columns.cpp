#include "capture/decode/packet_columns.h"

#include "capture/decode/hex_text.h"

#include <QDateTime>
#include <QStringList>

namespace {

constexpr int kSetupLimit = 8; // bytes
constexpr int kDataLimit = 64; // bytes

} // namespace

QString transferTypeName(int transferType)
{
    switch (transferType) {
    case ControlTransfer:
        return QStringLiteral("CTL");
    case IsochronousTransfer:
        return QStringLiteral("ISO");
    case BulkTransfer:
        return QStringLiteral("BLK");
    case InterruptTransfer:
        return QStringLiteral("INT");
    default:
        return QStringLiteral("UNK");
    }
}

QString packetColumnText(const UsbIPPacketInfo& packet, int column)
{
    switch (column) {
    case TimeColumn:
        return QDateTime::fromMSecsSinceEpoch(packet.timestamp).toString(QStringLiteral("hh:mm:ss.zzz"));
    case SequenceColumn:
        return QString::number(packet.sequenceNumber);
    case KindColumn:
        return packet.isRequest ? QStringLiteral("REQ") : QStringLiteral("REP");
    case EndpointColumn:
        return hexNumber(packet.endpoint, 2);
    case TransferTypeColumn:
        return transferTypeName(packet.transferType);
    case DirectionColumn:
        return packet.direction != 0 ? QStringLiteral("IN") : QStringLiteral("OUT");
    case LengthColumn:
        return QString::number(packet.transferLength);
    case SetupColumn:
        return packet.transferType == ControlTransfer ? hexText(packet.setupData, kSetupLimit) : QString();
    case DataColumn:
        return hexText(packet.data, kDataLimit);
    case DetailsColumn:
        return packet.parsedDetails;
    default:
        return {};
    }
}

QString packetRowText(const UsbIPPacketInfo& packet)
{
    QStringList texts;
    for (int column = 0; column < PacketColumnCount; ++column)
        texts << packetColumnText(packet, column);
    return texts.join(QLatin1Char('\t'));
}
