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

/// The form that USB Attached SCSI and isochronous data share. The guess about the first word is made only for data of
/// at least 8 bytes, although the word has four.
void addRawData(DetailRow& parent, const QString& title, const QString& firstWordName, const QByteArray& data)
{
    DetailRow& message = parent.add(title);
    message.add(QStringLiteral("Data Length"), byteCount(data.size()));
    message.add(QStringLiteral("Data (Hex)"), hexText(data, kHexLimit));
    if (data.size() >= 8)
        message.add(firstWordName, hexNumber(integerAt<std::uint32_t>(data, 0), 8));
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

    DetailRow& group = parent.add(QStringLiteral("Setup Data"));
    DetailRow& typeRow = group.add(QStringLiteral("bRequestType"), hexNumber(typeBits, 2));
    typeRow.add(QStringLiteral("  Direction"), detail_names::direction(request_type::isIn(typeBits)));
    typeRow.add(QStringLiteral("  Type"), detail_names::requestType(request_type::type(typeBits)));
    typeRow.add(QStringLiteral("  Recipient"), detail_names::recipient(request_type::recipient(typeBits)));

    DetailRow& requestRow = group.add(QStringLiteral("bRequest"), hexNumber(request, 2));
    if (standard)
        requestRow.add(QStringLiteral("  Request Name"), detail_names::standardRequest(request));

    group.add(QStringLiteral("wValue"), hexNumber(integerAt<std::uint16_t>(setup, 2), 4));
    group.add(QStringLiteral("wIndex"), hexNumber(integerAt<std::uint16_t>(setup, 4), 4));
    group.add(QStringLiteral("wLength"), QStringLiteral("%1 (%2 bytes)").arg(hexNumber(length, 4)).arg(length));
    if (standard && request == kGetDescriptor) {
        group.add(QStringLiteral("  Descriptor Type"), detail_names::descriptorType(byteAt(setup, 3)));
        group.add(QStringLiteral("  Descriptor Index"), QString::number(byteAt(setup, 2)));
    }
}

void packet_decoder::decodeBulkOnly(const QByteArray& data, DetailRow& parent)
{
    if (data.size() < kCommandBlockSize) {
        addError(parent, QStringLiteral("Invalid BOT message length"));
        return;
    }
    const std::uint8_t operation = byteAt(data, 15);
    DetailRow& message = parent.add(QStringLiteral("BOT Message"));
    message.add(QStringLiteral("Signature"), QString::fromLatin1(data.left(4)));
    message.add(QStringLiteral("Tag"), hexNumber(integerAt<std::uint32_t>(data, 4), 8));
    message.add(QStringLiteral("Data Transfer Length"), byteCount(integerAt<std::uint32_t>(data, 8)));
    message.add(QStringLiteral("Direction"), detail_names::direction(request_type::isIn(byteAt(data, 12))));
    message.add(QStringLiteral("LUN"), QString::number(byteAt(data, 13)));
    message.add(QStringLiteral("CB Length"), QString::number(byteAt(data, 14)));
    DetailRow& command = message.add(QStringLiteral("SCSI Command"), hexNumber(operation, 2));
    command.add(QStringLiteral("  Command Name"), detail_names::scsiOperation(operation));
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
