#include "capture/file/pcapng_writer.h"

#include "capture/channel/packet_parser.h"
#include "capture/file/pcapng_blocks.h"
#include "capture/file/urb_record.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostInterfaces = 4096; // traffic of more devices is made up; the rest goes to the last one

void appendBlock(QByteArray& bytes, std::uint32_t type, QByteArray body)
{
    body.append(QByteArray((4 - body.size() % 4) % 4, '\0'));
    const auto size = static_cast<std::uint32_t>(body.size()) + pcapng::kMinBlock;
    appendInteger(bytes, type);
    appendInteger(bytes, size);
    bytes += body;
    appendInteger(bytes, size);
}

void appendOption(QByteArray& body, pcapng::Option option, const QByteArray& value)
{
    appendInteger<std::uint16_t>(body, option);
    appendInteger(body, static_cast<std::uint16_t>(value.size()));
    body += value + QByteArray((4 - value.size() % 4) % 4, '\0');
}

void appendSection(QByteArray& bytes)
{
    QByteArray body;
    appendInteger(body, pcapng::kByteOrderMagic);
    appendInteger<std::uint16_t>(body, 1);
    appendInteger<std::uint16_t>(body, 0);
    appendInteger<std::int64_t>(body, -1); // length not given
    appendOption(body, pcapng::UserApplication, "Plugboard");
    appendOption(body, pcapng::EndOfOptions, {});
    appendBlock(bytes, pcapng::SectionHeader, body);
}

void appendInterface(QByteArray& bytes, const QByteArray& name)
{
    QByteArray body;
    appendInteger<std::uint16_t>(body, UrbPaddedLink);
    appendInteger<std::uint16_t>(body, 0);
    appendInteger<std::uint32_t>(body, 0); // no limit of a packet's length
    appendOption(body, pcapng::InterfaceName, name);
    appendOption(body, pcapng::EndOfOptions, {});
    appendBlock(bytes, pcapng::Interface, body);
}

QByteArray extraBody(const UsbIPPacketInfo& packet)
{
    QByteArray body;
    appendInteger<std::uint8_t>(body, packet.command);
    appendInteger<std::uint8_t>(body, packet.isUnlink ? 1 : 0);
    appendInteger<std::uint8_t>(body, packet.endpoint);
    appendInteger<std::uint8_t>(body, packet.direction);
    appendInteger(body, static_cast<std::uint16_t>(packet.setupData.size()));
    appendInteger(body, static_cast<std::uint16_t>(packet.usbipHeader.size()));
    body += packet.setupData + packet.usbipHeader;
    appendInteger(body, packet.transferLength);
    appendInteger(body, packet.deviceId);
    appendInteger(body, packet.sequenceNumber);
    appendInteger(body, packet.transferType);
    return body;
}

QByteArray packetBody(std::uint32_t interface, const RawRecord& record)
{
    const auto microseconds = static_cast<quint64>(record.microseconds);
    QByteArray body;
    appendInteger(body, interface);
    appendInteger(body, static_cast<std::uint32_t>(microseconds >> 32));
    appendInteger(body, static_cast<std::uint32_t>(microseconds));
    appendInteger(body, static_cast<std::uint32_t>(record.bytes.size()));
    appendInteger(body, record.fullSize);
    return body + record.bytes;
}

} // namespace

PcapngWriter::PcapngWriter(QIODevice& device) : CaptureWriter(device)
{
    appendSection(m_bytes);
}

void PcapngWriter::encode(const UsbIPPacketInfo& packet, QByteArray& bytes)
{
    const std::optional<RecordedTransfer> recorded = m_transfers.recordOf(packet);
    if (!recorded)
        return appendBlock(bytes, pcapng::Recordless, capturedPacketPayload(packet));
    const std::uint32_t interface = interfaceOf(packet.deviceId, bytes);
    appendBlock(bytes, pcapng::Extra, extraBody(packet));
    appendBlock(bytes, pcapng::EnhancedPacket,
                packetBody(interface, urb_record::encode(recorded->packet, recorded->terms)));
}

std::uint32_t PcapngWriter::interfaceOf(std::uint32_t deviceId, QByteArray& bytes)
{
    // The newest device is the likeliest to send next.
    const auto found = std::find(m_devices.rbegin(), m_devices.rend(), deviceId);
    if (found != m_devices.rend())
        return static_cast<std::uint32_t>(m_devices.rend() - found - 1);
    if (m_devices.size() < kMostInterfaces) {
        appendInterface(bytes, "USB/IP device " + QByteArray::number(deviceId));
        m_devices.push_back(deviceId);
    }
    return static_cast<std::uint32_t>(m_devices.size() - 1);
}
