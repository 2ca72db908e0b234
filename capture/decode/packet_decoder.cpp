#include "capture/decode/packet_decoder.h"

#include "capture/channel/line_names.h"
#include "capture/decode/detail_names.h"
#include "capture/decode/hex_text.h"

#include <QtEndian>

namespace {

constexpr int kSetupSize = 8;
constexpr int kCommandBlockSize = 31;
constexpr int kHexLimit = 128; // bytes of a packet that its detail view shows

std::uint8_t byteAt(const QByteArray& bytes, int index)
{
    return static_cast<std::uint8_t>(bytes.at(index));
}

template<typename Integer>
Integer integerAt(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<Integer>(bytes.constData() + offset);
}

QString byteCount(qint64 count)
{
    return QStringLiteral("%1 bytes").arg(count);
}

void addError(DetailRow& parent, const QString& text)
{
    parent.add(QStringLiteral("Error"), text);
}

ByteSpan inSetup(int offset, int size)
{
    return {ByteSpan::Part::Setup, offset, size};
}

ByteSpan inData(int offset, int size)
{
    return {ByteSpan::Part::Data, offset, size};
}

/// The form that USB Attached SCSI and isochronous data share. The guess about the first word is made only for data of
/// at least 8 bytes, although the word has four.
void addRawData(DetailRow& parent, const QString& title, const QString& firstWordName, const QByteArray& data)
{
    const ByteSpan all = inData(0, data.size());
    DetailRow& message = parent.add(title, {}, all);
    message.add(QStringLiteral("Data Length"), byteCount(data.size()));
    message.add(QStringLiteral("Data (Hex)"), hexText(data, kHexLimit), all);
    if (data.size() >= 8)
        message.add(firstWordName, hexNumber(integerAt<std::uint32_t>(data, 0), 8), inData(0, 4));
}

} // namespace

void packet_decoder::decodeSetup(const QByteArray& setup, DetailRow& parent)
{
    if (setup.size() < kSetupSize) {
        addError(parent, QStringLiteral("Invalid setup data length"));
        return;
    }
    const std::uint8_t typeBits = byteAt(setup, 0);
    const std::uint8_t request = byteAt(setup, 1);
    const auto length = integerAt<std::uint16_t>(setup, 6);
    const bool standard = request_type::type(typeBits) == 0;

    DetailRow& group = parent.add(QStringLiteral("Setup Data"), {}, inSetup(0, kSetupSize));
    DetailRow& typeRow = group.add(QStringLiteral("bRequestType"), hexNumber(typeBits, 2), inSetup(0, 1));
    typeRow.add(QStringLiteral("  Direction"), detail_names::direction(request_type::isIn(typeBits)), inSetup(0, 1));
    typeRow.add(QStringLiteral("  Type"), detail_names::requestType(request_type::type(typeBits)), inSetup(0, 1));
    typeRow.add(QStringLiteral("  Recipient"), detail_names::recipient(request_type::recipient(typeBits)),
                inSetup(0, 1));

    DetailRow& requestRow = group.add(QStringLiteral("bRequest"), hexNumber(request, 2), inSetup(1, 1));
    if (standard)
        requestRow.add(QStringLiteral("  Request Name"), detail_names::standardRequest(request), inSetup(1, 1));

    group.add(QStringLiteral("wValue"), hexNumber(integerAt<std::uint16_t>(setup, 2), 4), inSetup(2, 2));
    group.add(QStringLiteral("wIndex"), hexNumber(integerAt<std::uint16_t>(setup, 4), 4), inSetup(4, 2));
    group.add(QStringLiteral("wLength"), QStringLiteral("%1 (%2 bytes)").arg(hexNumber(length, 4)).arg(length),
              inSetup(6, 2));
    if (standard && request == kGetDescriptor) {
        group.add(QStringLiteral("  Descriptor Type"), detail_names::descriptorType(byteAt(setup, 3)), inSetup(3, 1));
        group.add(QStringLiteral("  Descriptor Index"), QString::number(byteAt(setup, 2)), inSetup(2, 1));
    }
}

void packet_decoder::decodeBulkOnly(const QByteArray& data, DetailRow& parent)
{
    if (data.size() < kCommandBlockSize) {
        addError(parent, QStringLiteral("Invalid BOT message length"));
        return;
    }
    const std::uint8_t operation = byteAt(data, 15);
    DetailRow& message = parent.add(QStringLiteral("BOT Message"), {}, inData(0, kCommandBlockSize));
    message.add(QStringLiteral("Signature"), QString::fromLatin1(data.left(4)), inData(0, 4));
    message.add(QStringLiteral("Tag"), hexNumber(integerAt<std::uint32_t>(data, 4), 8), inData(4, 4));
    message.add(QStringLiteral("Data Transfer Length"), byteCount(integerAt<std::uint32_t>(data, 8)), inData(8, 4));
    message.add(QStringLiteral("Direction"), detail_names::direction(request_type::isIn(byteAt(data, 12))),
                inData(12, 1));
    message.add(QStringLiteral("LUN"), QString::number(byteAt(data, 13)), inData(13, 1));
    message.add(QStringLiteral("CB Length"), QString::number(byteAt(data, 14)), inData(14, 1));
    DetailRow& command = message.add(QStringLiteral("SCSI Command"), hexNumber(operation, 2), inData(15, 1));
    command.add(QStringLiteral("  Command Name"), detail_names::scsiOperation(operation), inData(15, 1));
}

void packet_decoder::decodeAttachedScsi(const QByteArray& data, DetailRow& parent)
{
    addRawData(parent, QStringLiteral("UAS Message"), QStringLiteral("IOC (I/O Context)"), data);
}

void packet_decoder::decodeIsochronous(const QByteArray& data, DetailRow& parent)
{
    addRawData(parent, QStringLiteral("ISO Data"), QStringLiteral("Timestamp (Guess)"), data);
}

bool packet_decoder::isBulkOnly(const QByteArray& data)
{
    return data.startsWith("USBC");
}
