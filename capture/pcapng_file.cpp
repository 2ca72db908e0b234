#include "capture/pcapng_file.h"

#include "capture/protocol_line.h"
#include "capture/urb_record.h"

#include <QCoreApplication>
#include <QVector>
#include <QtEndian>

#include <algorithm>
#include <optional>

namespace {

constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr std::uint32_t kInterface = 1;
constexpr std::uint32_t kEnhancedPacket = 6;
constexpr std::uint32_t kExtra = 0x80554253; // local use
constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint16_t kLinkType = 220;
constexpr std::uint32_t kMaxBlock = 16 * 1024 * 1024; // bytes; a longer block is taken for damage
constexpr std::uint32_t kMinBlock = 12;
constexpr int kPacketHead = 20; // bytes of an enhanced packet block before its data

template<typename Integer>
void append(QByteArray& bytes, Integer value)
{
    const int offset = bytes.size();
    bytes.resize(offset + static_cast<int>(sizeof value));
    qToLittleEndian(value, bytes.data() + offset);
}

template<typename Integer>
Integer get(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<Integer>(bytes.constData() + offset);
}

void appendBlock(QByteArray& bytes, std::uint32_t type, QByteArray body)
{
    body.append(QByteArray((4 - body.size() % 4) % 4, '\0'));
    const auto size = static_cast<std::uint32_t>(body.size()) + kMinBlock;
    append(bytes, type);
    append(bytes, size);
    bytes += body;
    append(bytes, size);
}

QByteArray fileHead()
{
    QByteArray section;
    append(section, kByteOrderMagic);
    append<std::uint16_t>(section, 1);
    append<std::uint16_t>(section, 0);
    append<std::int64_t>(section, -1); // length not given
    QByteArray interface;
    append(interface, kLinkType);
    append<std::uint16_t>(interface, 0);
    append<std::uint32_t>(interface, 0); // no limit of a packet's length
    QByteArray bytes;
    appendBlock(bytes, kSectionHeader, section);
    appendBlock(bytes, kInterface, interface);
    return bytes;
}

QByteArray extraBody(const UsbIPPacketInfo& packet)
{
    QByteArray body;
    append<std::uint8_t>(body, packet.command);
    append<std::uint8_t>(body, packet.isUnlink ? 1 : 0);
    append<std::uint8_t>(body, packet.endpoint);
    append<std::uint8_t>(body, packet.direction);
    append(body, static_cast<std::uint16_t>(packet.setupData.size()));
    append(body, static_cast<std::uint16_t>(packet.usbipHeader.size()));
    return body + packet.setupData + packet.usbipHeader;
}

QByteArray packetBody(const UsbIPPacketInfo& packet)
{
    std::uint32_t fullSize = 0;
    const QByteArray record = urb_record::encode(packet, fullSize);
    const auto microseconds = static_cast<quint64>(packet.timestamp) * 1000U;
    QByteArray body;
    append<std::uint32_t>(body, 0); // interface
    append(body, static_cast<std::uint32_t>(microseconds >> 32));
    append(body, static_cast<std::uint32_t>(microseconds));
    append(body, static_cast<std::uint32_t>(record.size()));
    append(body, fullSize);
    return body + record;
}

/// Cuts a file into blocks and its packet blocks into packets.
class Reader
{
public:
    explicit Reader(QIODevice& device) : m_device(device) {}

    PcapngFile::ReadResult run()
    {
        while (m_result.error.isEmpty() && !m_device.atEnd())
            readBlock();
        return std::move(m_result);
    }

private:
    void fail(const char* text) { m_result.error = QCoreApplication::translate("PcapngFile", text); }

    void readBlock()
    {
        const QByteArray head = m_device.read(8);
        if (head.size() < 8)
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file ends within a block."));
        const auto type = get<std::uint32_t>(head, 0);
        const auto size = get<std::uint32_t>(head, 4);
        if (!m_inSection && type != kSectionHeader)
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file is not a pcapng file."));
        if (size < kMinBlock || size > kMaxBlock || size % 4 != 0)
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file has a block of impossible length or byte order."));
        QByteArray body = m_device.read(size - 8);
        if (body.size() < static_cast<int>(size - 8))
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file ends within a block."));
        body.chop(4);
        handle(type, body);
    }

    void handle(std::uint32_t type, const QByteArray& body)
    {
        if (type == kSectionHeader)
            startSection(body);
        else if (type == kInterface)
            m_linkTypes.append(body.size() < 2 ? std::uint16_t(0) : get<std::uint16_t>(body, 0));
        else if (type == kExtra)
            m_extra = body;
        else if (type == kEnhancedPacket)
            addPacket(body);
    }

    void startSection(const QByteArray& body)
    {
        m_linkTypes.clear();
        m_extra.clear();
        m_inSection = body.size() >= 4 && get<std::uint32_t>(body, 0) == kByteOrderMagic;
        if (!m_inSection)
            fail(QT_TRANSLATE_NOOP("PcapngFile", "The file's byte order is not supported."));
    }

    void addPacket(const QByteArray& body)
    {
        const QByteArray extra = std::exchange(m_extra, {});
        if (body.size() < kPacketHead)
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file has a damaged packet."));
        const auto interface = get<std::uint32_t>(body, 0);
        const auto length = get<std::uint32_t>(body, 12);
        if (length > static_cast<std::uint32_t>(body.size() - kPacketHead))
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file has a damaged packet."));
        if (interface >= static_cast<std::uint32_t>(m_linkTypes.size()) || m_linkTypes[int(interface)] != kLinkType)
            return;
        auto packet = urb_record::decode(body.mid(kPacketHead, static_cast<int>(length)));
        if (!packet)
            return fail(QT_TRANSLATE_NOOP("PcapngFile", "The file has a damaged packet."));
        applyExtra(*packet, extra);
        packet->parsedDetails = protocolLine(*packet);
        m_result.packets.push_back(std::move(*packet));
    }

    static void applyExtra(UsbIPPacketInfo& packet, const QByteArray& extra)
    {
        if (extra.size() < 8)
            return;
        packet.command = static_cast<std::uint8_t>(extra.at(0));
        packet.isUnlink = extra.at(1) != 0;
        packet.endpoint = static_cast<std::uint8_t>(extra.at(2));
        packet.direction = static_cast<std::uint8_t>(extra.at(3));
        const int setupSize = get<std::uint16_t>(extra, 4);
        packet.setupData = extra.mid(8, setupSize);
        packet.usbipHeader = extra.mid(8 + setupSize, get<std::uint16_t>(extra, 6));
    }

    QIODevice& m_device;
    PcapngFile::ReadResult m_result;
    bool m_inSection = false;
    QVector<std::uint16_t> m_linkTypes;
    QByteArray m_extra;
};

} // namespace

PcapngWriter::PcapngWriter(QIODevice& device) : m_device(device), m_bytes(fileHead())
{}

bool PcapngWriter::add(const UsbIPPacketInfo& packet)
{
    constexpr int kChunk = 256 * 1024; // bytes
    appendBlock(m_bytes, kExtra, extraBody(packet));
    appendBlock(m_bytes, kEnhancedPacket, packetBody(packet));
    return m_bytes.size() < kChunk || flush();
}

bool PcapngWriter::flush()
{
    const bool taken = m_device.write(m_bytes) == m_bytes.size();
    m_bytes.clear();
    return taken;
}

bool PcapngFile::write(QIODevice& device, const PacketList& packets)
{
    PcapngWriter writer(device);
    return std::all_of(packets.begin(), packets.end(), [&](const auto& packet) { return writer.add(packet); }) &&
           writer.flush();
}

PcapngFile::ReadResult PcapngFile::read(QIODevice& device)
{
    return Reader(device).run();
}
