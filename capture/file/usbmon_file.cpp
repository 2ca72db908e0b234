#include "capture/file/usbmon_file.h"

#include "capture/file/urb_record.h"

namespace {

constexpr int kHeaderSize = 48; // bytes of a raw record
constexpr int kPaddedHeaderSize = 64;
constexpr int kDataLength = 36; // places in it
constexpr int kEvent = 8;
constexpr int kType = 9;
constexpr int kSetupFlag = 14;
constexpr int kDataFlag = 15;
constexpr int kMicroseconds = 24;
constexpr std::uint32_t kLongestData = 16 * 1024 * 1024; // bytes; more is taken for damage

} // namespace

void UsbmonRawWriter::encode(const UsbIPPacketInfo& packet, QByteArray& bytes)
{
    const std::optional<RecordedTransfer> recorded = m_transfers.recordOf(packet);
    if (!recorded)
        return;
    const RawRecord record = urb_record::encode(recorded->packet, recorded->terms);
    bytes += record.bytes.left(kHeaderSize) + record.bytes.mid(kPaddedHeaderSize);
}

bool isUsbmonRaw(const QByteArray& beginning)
{
    if (beginning.size() < kHeaderSize)
        return false;
    const auto isOneOf = [&beginning](int place, const QByteArray& values) {
        return values.contains(beginning.at(place));
    };
    const auto microseconds = qFromLittleEndian<std::int32_t>(beginning.constData() + kMicroseconds);
    return isOneOf(kEvent, "SCE") && isOneOf(kType, QByteArray("\0\1\2\3", 4)) &&
           isOneOf(kSetupFlag, QByteArray("\0-DZ", 4)) && isOneOf(kDataFlag, QByteArray("\0<>DZ=", 6)) &&
           microseconds >= 0 && microseconds < 1'000'000;
}

QString readUsbmonRaw(QIODevice& device, RecordSink& sink, JobProgress& progress)
{
    RawRecord record;
    record.linkType = UrbLink;
    const qint64 whole = device.size(); // once: each question goes to the system
    while (!device.atEnd() && !progress.isCancelled()) {
        record.bytes = device.read(kHeaderSize);
        if (record.bytes.size() < kHeaderSize)
            return CaptureFile::tr("The file ends within a packet.");
        const auto size = record.get<std::uint32_t>(kDataLength);
        if (size > kLongestData || !isUsbmonRaw(record.bytes))
            return CaptureFile::tr("The file has a damaged packet.");
        record.bytes += device.read(size);
        if (record.bytes.size() < kHeaderSize + static_cast<int>(size))
            return CaptureFile::tr("The file ends within a packet.");
        progress.setPart(device.pos(), whole);
        if (auto packet = sink.decode(record))
            sink.add(std::move(*packet));
    }
    return {};
}
