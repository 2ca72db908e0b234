#include "capture/decode/packet_details.h"

#include "capture/channel/usbip_header.h"
#include "capture/decode/detail_names.h"
#include "capture/decode/hex_text.h"
#include "capture/decode/packet_decoder.h"
#include "capture/decode/packet_meaning.h"
#include "capture/decode/status_names.h"

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
    group.bytes = {ByteSpan::Part::Data, 0, packet.data.size()};
    group.add(PacketDetails::tr("Length"), byteCount(packet.data.size()));
    group.add(PacketDetails::tr("Data (Hex)"), hexText(packet.data, kHexLimit), group.bytes);
}

/// The words of a header as rows; those that it does not have get none.
class HeaderRows
{
public:
    HeaderRows(const UsbIPPacketInfo& packet, DetailRow& group) : m_packet(packet), m_group(group) {}

    std::uint32_t word(usbip_header::Word place) const { return usbip_header::word(m_packet.usbipHeader, place); }
    void add(const QString& name, usbip_header::Word place, const QString& value)
    {
        constexpr int kWord = 4; // bytes
        if (usbip_header::has(m_packet.usbipHeader, place))
            m_group.add(name, value, {ByteSpan::Part::Header, kWord * place, kWord});
    }
    void addNumber(const QString& name, usbip_header::Word place) { add(name, place, QString::number(word(place))); }
    void addHex(const QString& name, usbip_header::Word place) { add(name, place, hexNumber(word(place), 8)); }
    void addStatus()
    {
        add(PacketDetails::tr("Status"), usbip_header::Status,
            transferStatusText(static_cast<std::int32_t>(word(usbip_header::Status))));
    }

private:
    const UsbIPPacketInfo& m_packet;
    DetailRow& m_group;
};

void addHeader(const UsbIPPacketInfo& packet, DetailRow& parent)
{
    if (packet.usbipHeader.isEmpty())
        return;
    DetailRow& group =
        parent.add(PacketDetails::tr("USB/IP Header"), {}, {ByteSpan::Part::Header, 0, packet.usbipHeader.size()});
    HeaderRows rows(packet, group);
    const std::uint32_t command = rows.word(usbip_header::Command);
    rows.addHex(PacketDetails::tr("Command"), usbip_header::Command);
    rows.addNumber(PacketDetails::tr("Sequence Number"), usbip_header::SequenceNumber);
    rows.addHex(PacketDetails::tr("Device ID"), usbip_header::DeviceId);
    rows.addNumber(PacketDetails::tr("Direction"), usbip_header::Direction);
    rows.addNumber(PacketDetails::tr("Endpoint"), usbip_header::Endpoint);
    if (command == usbip_header::Submit) {
        rows.addHex(PacketDetails::tr("Transfer Flags"), usbip_header::TransferFlags);
        rows.addNumber(PacketDetails::tr("Transfer Length"), usbip_header::ActualLength);
        rows.addNumber(PacketDetails::tr("Start Frame"), usbip_header::StartFrame);
        rows.addNumber(PacketDetails::tr("Number of Packets"), usbip_header::PacketCount);
        rows.addNumber(PacketDetails::tr("Interval"), usbip_header::Interval);
    } else if (command == usbip_header::Unlink) {
        rows.addNumber(PacketDetails::tr("Unlinked Number"), usbip_header::UnlinkedNumber);
    } else {
        rows.addStatus();
    }
    if (command == usbip_header::SubmitReply) {
        rows.addNumber(PacketDetails::tr("Actual Length"), usbip_header::ActualLength);
        rows.addNumber(PacketDetails::tr("Start Frame"), usbip_header::StartFrame);
        rows.addNumber(PacketDetails::tr("Number of Packets"), usbip_header::PacketCount);
        rows.addNumber(PacketDetails::tr("Error Count"), usbip_header::ErrorCount);
    }
}

/// What the class makes of the packet, beside the one line that says what every device has in common.
void addMeaning(const UsbIPPacketInfo& packet, const PacketContext& context, DetailRow& parent)
{
    PacketMeaning meaning = packetMeaning(packet, context);
    if (!meaning.text.isEmpty())
        parent.add(PacketDetails::tr("Meaning"), meaning.text);
    for (DetailRow& row : meaning.rows.children)
        parent.children.push_back(std::move(row));
}

} // namespace

DetailRow packetDetails(const UsbIPPacketInfo& packet, const PacketContext& context)
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
    addMeaning(packet, context, top);
    addHeader(packet, top);
    return top;
}
