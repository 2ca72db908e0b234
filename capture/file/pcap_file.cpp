#include "capture/file/pcap_file.h"

#include "capture/file/urb_record.h"
#include "capture/file/usbpcap_record.h"

namespace {

constexpr std::uint32_t kMicroseconds = 0xA1B2C3D4; // first word of the file, by resolution of time
constexpr std::uint32_t kNanoseconds = 0xA1B23C4D;
constexpr int kFileHead = 24; // bytes
constexpr int kRecordHead = 16;
constexpr std::uint32_t kLongestRecord = 16 * 1024 * 1024; // bytes; a longer one is taken for damage

bool isMagic(std::uint32_t word)
{
    return word == kMicroseconds || word == kNanoseconds;
}

} // namespace

PcapWriter::PcapWriter(QIODevice& device, LinkType linkType) : CaptureWriter(device), m_linkType(linkType)
{
    appendInteger(m_bytes, kMicroseconds);
    appendInteger<std::uint16_t>(m_bytes, 2); // version
    appendInteger<std::uint16_t>(m_bytes, 4);
    appendInteger<std::uint64_t>(m_bytes, 0);
    appendInteger(m_bytes, kLongestRecord);
    appendInteger<std::uint32_t>(m_bytes, linkType);
}

void PcapWriter::encode(const UsbIPPacketInfo& packet, QByteArray& bytes)
{
    const std::optional<RecordedTransfer> recorded = m_transfers.recordOf(packet);
    if (!recorded)
        return;
    const RawRecord record = m_linkType == WindowsUrbLink ? usbpcap_record::encode(recorded->packet)
                                                          : urb_record::encode(recorded->packet, recorded->terms);
    appendInteger(bytes, static_cast<std::uint32_t>(record.microseconds / 1'000'000));
    appendInteger(bytes, static_cast<std::uint32_t>(record.microseconds % 1'000'000));
    appendInteger(bytes, static_cast<std::uint32_t>(record.bytes.size()));
    appendInteger(bytes, record.fullSize);
    bytes += record.bytes;
}

bool isPcap(const QByteArray& beginning)
{
    return beginning.size() >= 4 && (isMagic(qFromLittleEndian<std::uint32_t>(beginning.constData())) ||
                                     isMagic(qFromBigEndian<std::uint32_t>(beginning.constData())));
}

QString readPcap(QIODevice& device, RecordSink& sink, JobProgress& progress)
{
    RawRecord record;
    record.bytes = device.read(kFileHead);
    if (record.bytes.size() < kFileHead)
        return CaptureFile::tr("The file ends within its head.");
    record.bigEndian = isMagic(qFromBigEndian<std::uint32_t>(record.bytes.constData()));
    const qint64 ticks = record.get<std::uint32_t>(0) == kNanoseconds ? 1000 : 1; // a microsecond
    record.linkType = record.get<std::uint32_t>(20) & 0x0FFFFFFF;                 // above: form of a checksum
    const qint64 whole = device.size(); // once: each question goes to the system
    while (!device.atEnd() && !progress.isCancelled()) {
        record.bytes = device.read(kRecordHead);
        if (record.bytes.size() < kRecordHead)
            return CaptureFile::tr("The file ends within a packet.");
        const auto size = record.get<std::uint32_t>(8);
        record.microseconds = qint64(record.get<std::uint32_t>(0)) * 1'000'000 + record.get<std::uint32_t>(4) / ticks;
        record.fullSize = record.get<std::uint32_t>(12);
        if (size > kLongestRecord)
            return CaptureFile::tr("The file has a damaged packet.");
        record.bytes = device.read(size);
        if (record.bytes.size() < static_cast<int>(size))
            return CaptureFile::tr("The file ends within a packet.");
        progress.setPart(device.pos(), whole);
        if (!sink.knows(record.linkType))
            continue;
        if (auto packet = sink.decode(record))
            sink.add(std::move(*packet));
    }
    return {};
}
