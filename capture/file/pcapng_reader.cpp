#include "capture/file/pcapng_reader.h"

#include "capture/channel/packet_parser.h"
#include "capture/file/pcapng_blocks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::uint32_t kMaxBlock = 16 * 1024 * 1024; // bytes; a longer block is taken for damage
constexpr int kPacketHead = 20;                       // bytes of an enhanced packet block before its data
constexpr int kInterfaceHead = 8;                     // bytes of an interface block before its options
constexpr int kExtraHead = 8;                         // bytes before the parts of variable length
constexpr int kExtraTail = 13;                        // bytes after them

/// Our own block, always little-endian, over what the record said.
void applyExtra(UsbIPPacketInfo& packet, const QByteArray& extra)
{
    if (extra.size() < kExtraHead)
        return;
    const int setupSize = qFromLittleEndian<std::uint16_t>(extra.constData() + 4);
    const int headerSize = qFromLittleEndian<std::uint16_t>(extra.constData() + 6);
    packet.command = static_cast<std::uint8_t>(extra.at(0));
    packet.isUnlink = extra.at(1) != 0;
    packet.endpoint = static_cast<std::uint8_t>(extra.at(2));
    packet.direction = static_cast<std::uint8_t>(extra.at(3));
    packet.setupData = extra.mid(kExtraHead, setupSize);
    packet.usbipHeader = extra.mid(kExtraHead + setupSize, headerSize);
    const int tail = kExtraHead + setupSize + headerSize;
    if (extra.size() < tail + kExtraTail)
        return;
    packet.transferLength = qFromLittleEndian<std::uint32_t>(extra.constData() + tail);
    packet.deviceId = qFromLittleEndian<std::uint32_t>(extra.constData() + tail + 4);
    packet.sequenceNumber = qFromLittleEndian<std::uint32_t>(extra.constData() + tail + 8);
    packet.transferType = static_cast<std::uint8_t>(extra.at(tail + 12));
}

/// Microseconds until the end of the year 9999: a file may tell of later times, which nothing can show.
constexpr long double kLatest = 253'402'300'799'999'999;

double microsecondsPerTick(std::uint8_t resolution)
{
    const int exponent = -(resolution & 0x7F);
    return 1e6 * ((resolution & 0x80) != 0 ? std::pow(2, exponent) : std::pow(10, exponent));
}

} // namespace

QString PcapngReader::read(JobProgress& progress)
{
    const qint64 whole = m_device.size(); // once: each question goes to the system
    while (m_error.isEmpty() && !m_device.atEnd() && !progress.isCancelled()) {
        readBlock();
        progress.setPart(m_device.pos(), whole);
    }
    return m_error;
}

void PcapngReader::readBlock()
{
    QByteArray head = m_device.read(8);
    if (head.size() < 8) {
        m_error = CaptureFile::tr("The file ends within a block.");
        return;
    }
    // The type of a section's header reads the same in both byte orders.
    const auto type = get<std::uint32_t>(head, 0);
    const std::uint32_t size = blockSize(type, head);
    if (!m_error.isEmpty())
        return;
    QByteArray body = head.mid(8) + m_device.read(qint64(size) - head.size());
    if (body.size() < static_cast<int>(size) - 8) {
        m_error = CaptureFile::tr("The file ends within a block.");
        return;
    }
    body.chop(4);
    handle(type, body);
}

/// Reads on, into `head`, as far as is needed to know the section's byte order.
std::uint32_t PcapngReader::blockSize(std::uint32_t type, QByteArray& head)
{
    if (type == pcapng::SectionHeader) {
        head += m_device.read(4);
        m_inSection = head.size() == 12;
        if (m_inSection) {
            m_bigEndian = qFromBigEndian<std::uint32_t>(head.constData() + 8) == pcapng::kByteOrderMagic;
            m_inSection = get<std::uint32_t>(head, 8) == pcapng::kByteOrderMagic;
        }
    }
    const auto size = get<std::uint32_t>(head, 4);
    if (!m_inSection)
        m_error = CaptureFile::tr("The file is not a pcapng file.");
    else if (size < std::max(pcapng::kMinBlock, std::uint32_t(head.size()) + 4) || size > kMaxBlock || size % 4 != 0)
        m_error = CaptureFile::tr("The file has a block of impossible length.");
    return size;
}

void PcapngReader::handle(std::uint32_t type, const QByteArray& body)
{
    switch (type) {
    case pcapng::SectionHeader:
        m_interfaces.clear();
        m_extra.clear();
        return;
    case pcapng::Interface:
        return addInterface(body);
    case pcapng::Extra:
        m_extra = body;
        return;
    case pcapng::Recordless:
        return addRecordless(body);
    case pcapng::EnhancedPacket:
        return addEnhancedPacket(body);
    case pcapng::SimplePacket:
        return addSimplePacket(body);
    default:
        return;
    }
}

void PcapngReader::addInterface(const QByteArray& body)
{
    Interface& interface = m_interfaces.emplace_back();
    if (body.size() < kInterfaceHead)
        return;
    interface.linkType = get<std::uint16_t>(body, 0);
    for (int option = kInterfaceHead; option + 4 <= body.size();) {
        const auto code = get<std::uint16_t>(body, option);
        const int size = get<std::uint16_t>(body, option + 2);
        if (code == pcapng::EndOfOptions)
            break;
        if (code == pcapng::TimeResolution && size == 1 && option + 4 < body.size())
            interface.microsecondsPerTick = microsecondsPerTick(static_cast<std::uint8_t>(body.at(option + 4)));
        option += 4 + (size + 3) / 4 * 4;
    }
}

void PcapngReader::addEnhancedPacket(const QByteArray& body)
{
    const std::uint32_t length = body.size() < kPacketHead ? 0 : get<std::uint32_t>(body, 12);
    if (body.size() < kPacketHead || length > static_cast<std::uint32_t>(body.size() - kPacketHead)) {
        m_error = CaptureFile::tr("The file has a damaged packet.");
        return;
    }
    const quint64 ticks = quint64(get<std::uint32_t>(body, 4)) << 32 | get<std::uint32_t>(body, 8);
    addRecord(get<std::uint32_t>(body, 0), ticks, get<std::uint32_t>(body, 16),
              body.mid(kPacketHead, static_cast<int>(length)));
}

void PcapngReader::addSimplePacket(const QByteArray& body)
{
    if (body.size() < 4) {
        m_error = CaptureFile::tr("The file has a damaged packet.");
        return;
    }
    const auto fullSize = get<std::uint32_t>(body, 0);
    const auto present = std::min(fullSize, static_cast<std::uint32_t>(body.size() - 4));
    addRecord(0, 0, fullSize, body.mid(4, static_cast<int>(present)));
}

void PcapngReader::addRecordless(const QByteArray& body)
{
    UsbIPPacketInfo packet;
    if (parseCapturedPacket(body, packet))
        m_sink.add(std::move(packet)); // which is done with it before `body` ends
    else
        m_sink.countDamaged();
}

void PcapngReader::addRecord(std::uint32_t interface, quint64 ticks, std::uint32_t fullSize, const QByteArray& bytes)
{
    const QByteArray extra = std::exchange(m_extra, {});
    if (interface >= m_interfaces.size()) {
        m_error = CaptureFile::tr("The file has a damaged packet.");
        return;
    }
    const Interface& from = m_interfaces[interface];
    if (!m_sink.knows(from.linkType))
        return;
    // Through long double: today's time in ticks has more digits than a double keeps.
    const long double since1970 = static_cast<long double>(ticks) * from.microsecondsPerTick;
    const auto microseconds = static_cast<qint64>(std::min(since1970, kLatest));
    auto packet = m_sink.decode({from.linkType, bytes, fullSize, microseconds, m_bigEndian});
    if (!packet)
        return;
    applyExtra(*packet, extra);
    m_sink.add(std::move(*packet));
}
