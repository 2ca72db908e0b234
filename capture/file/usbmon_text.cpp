#include "capture/channel/usbip_header.h"
#include "capture/file/usbmon_file.h"

#include <QList>

#include <algorithm>
#include <array>

namespace {

constexpr std::array<char, 4> kTypeLetters{'C', 'Z', 'B', 'I'}; // by transfer type
constexpr qint64 kTimeSpan = 4096LL * 1'000'000;                // µs
constexpr qint64 kLongestLine = 1024 * 1024;                    // bytes; 65,535 of data make 150,000 letters

/// The words of a line, one after the other; empty at the end.
class Words
{
public:
    explicit Words(const QByteArray& line) : m_words(line.simplified().split(' ')) {}

    QByteArray next() { return m_place < m_words.size() ? m_words.at(m_place++) : QByteArray(); }
    QByteArray peek() const { return m_words.value(m_place); }
    QByteArray rest() const
    {
        QByteArray digits;
        for (int place = m_place; place < m_words.size(); ++place)
            digits += m_words.at(place);
        return digits;
    }

private:
    QList<QByteArray> m_words;
    int m_place = 0;
};

/// "Ci:1:002:0": type and direction, bus, device, endpoint.
bool readAddress(const QByteArray& word, UsbIPPacketInfo& packet)
{
    const QList<QByteArray> parts = word.split(':');
    if (parts.size() != 4 || parts[0].size() != 2)
        return false;
    const auto* type = std::find(kTypeLetters.begin(), kTypeLetters.end(), parts[0].at(0));
    bool hasBus = false;
    bool hasDevice = false;
    bool hasEndpoint = false;
    packet.transferType = static_cast<std::uint8_t>(type - kTypeLetters.begin());
    packet.direction = parts[0].at(1) == 'i' ? 1 : 0;
    packet.deviceId = std::uint32_t(parts[1].toUShort(&hasBus)) << 16 | std::uint32_t(parts[2].toUShort(&hasDevice));
    packet.endpoint = static_cast<std::uint8_t>(parts[3].toUShort(&hasEndpoint) & 0x7F);
    return type != kTypeLetters.end() && (parts[0].at(1) == 'i' || parts[0].at(1) == 'o') && hasBus && hasDevice &&
           hasEndpoint;
}

/// "s 80 06 0100 0000 0012" behind the address; what stands for bytes that usbmon did not see is passed over.
bool readSetup(Words& words, QByteArray& setup)
{
    const bool isThere = words.next() == "s";
    std::array<std::uint16_t, 5> numbers{};
    bool valid = true;
    for (std::uint16_t& number : numbers) {
        bool isNumber = false;
        number = words.next().toUShort(&isNumber, 16);
        valid = valid && (isNumber || !isThere);
    }
    if (!isThere)
        return true;
    setup = QByteArray(8, '\0');
    setup[0] = static_cast<char>(numbers[0]);
    setup[1] = static_cast<char>(numbers[1]);
    for (int word = 0; word < 3; ++word)
        qToLittleEndian(numbers[std::size_t(word) + 2], setup.data() + 2 + 2 * word);
    return valid;
}

std::optional<UsbIPPacketInfo> packetOf(const QByteArray& line, TransferNumbers& numbers)
{
    Words words(line);
    UsbIPPacketInfo packet;
    bool hasId = false;
    bool hasTime = false;
    bool hasLength = false;
    const quint64 id = words.next().toULongLong(&hasId, 16);
    packet.timestamp = words.next().toLongLong(&hasTime) / 1000;
    const QByteArray event = words.next();
    packet.isRequest = event == "S";
    packet.command = packet.isRequest ? usbip_header::Submit : usbip_header::SubmitReply;
    if (!hasId || !hasTime || (!packet.isRequest && event != "C" && event != "E") || !readAddress(words.next(), packet))
        return std::nullopt;
    std::int32_t status = 0;
    const QByteArray next = words.peek();
    if (!next.isEmpty() && next.at(0) != '-' && !isdigit(static_cast<unsigned char>(next.at(0)))) {
        if (!readSetup(words, packet.setupData))
            return std::nullopt;
    } else if (next == "-") { // a setup packet that usbmon did not see
        readSetup(words, packet.setupData);
    } else {
        status = words.next().split(':').first().toInt();
    }
    if (packet.transferType == IsochronousTransfer) {
        const int count = words.next().toInt();
        while (words.peek().contains(':'))
            words.next();
        if (count < 0)
            return std::nullopt;
    }
    packet.transferLength = words.next().toUInt(&hasLength);
    if (!hasLength)
        return std::nullopt;
    if (words.next() == "=")
        packet.data = QByteArray::fromHex(words.rest());
    if (id >> 32 == packet.deviceId)
        packet.sequenceNumber = static_cast<std::uint32_t>(id);
    else
        packet.sequenceNumber = packet.isRequest ? numbers.ofSubmission(id) : numbers.ofCompletion(id);
    packet.usbipHeader = usbip_header::make(packet, status);
    return packet;
}

QByteArray setupText(const QByteArray& setup)
{
    const auto word = [&setup](int place) { return qFromLittleEndian<quint16>(setup.constData() + place); };
    const auto hex = [](unsigned value, int digits) {
        return QByteArray::number(value, 16).rightJustified(digits, '0');
    };
    return "s " + hex(static_cast<std::uint8_t>(setup.at(0)), 2) + ' ' +
           hex(static_cast<std::uint8_t>(setup.at(1)), 2) + ' ' + hex(word(2), 4) + ' ' + hex(word(4), 4) + ' ' +
           hex(word(6), 4);
}

QByteArray statusText(const UsbIPPacketInfo& packet, const SubmissionTerms& terms)
{
    constexpr int kInProgress = -115;
    const auto status = static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status));
    QByteArray text = QByteArray::number(packet.isRequest ? kInProgress : status);
    if (packet.transferType == InterruptTransfer || packet.transferType == IsochronousTransfer)
        text += ':' + QByteArray::number(terms.interval);
    if (packet.transferType == IsochronousTransfer)
        text += ':' + QByteArray::number(usbip_header::word(packet.usbipHeader, usbip_header::StartFrame)) +
                (packet.isRequest ? "" : ":0");
    return text;
}

} // namespace

void UsbmonTextWriter::encode(const UsbIPPacketInfo& packet, QByteArray& bytes)
{
    const std::optional<RecordedTransfer> recorded = m_transfers.recordOf(packet);
    if (!recorded || recorded->packet.transferType >= kTypeLetters.size())
        return;
    const UsbIPPacketInfo& seen = recorded->packet;
    const std::uint32_t length = carriedLength(seen);
    const bool hasSetup = seen.isRequest && seen.transferType == ControlTransfer && seen.setupData.size() == 8;
    bytes += QByteArray::number(quint64(seen.deviceId) << 32 | seen.sequenceNumber, 16).rightJustified(16, '0') + ' ';
    bytes += QByteArray::number(seen.timestamp * 1000 % kTimeSpan) + (seen.isRequest ? " S " : " C ");
    bytes += kTypeLetters[seen.transferType];
    bytes += seen.direction != 0 ? "i:" : "o:";
    bytes += QByteArray::number(seen.deviceId >> 16) + ':' +
             QByteArray::number(seen.deviceId & 0xFFFF).rightJustified(3, '0') + ':' +
             QByteArray::number(seen.endpoint) + ' ';
    bytes += hasSetup ? setupText(seen.setupData) : statusText(seen, recorded->terms);
    if (seen.transferType == IsochronousTransfer) // one descriptor: the channel does not say where packets begin
        bytes += " 1 " + QByteArray::number(seen.isRequest ? -18 : 0) + ":0:" + QByteArray::number(length);
    bytes += ' ' + QByteArray::number(length);
    if (seen.data.isEmpty()) {
        bytes += seen.direction != 0 ? " <\n" : " >\n";
        return;
    }
    bytes += " =";
    for (int place = 0; place < seen.data.size(); place += 4)
        bytes += ' ' + seen.data.mid(place, 4).toHex();
    bytes += '\n';
}

bool isUsbmonText(const QByteArray& beginning)
{
    const QList<QByteArray> words = beginning.split(' ');
    const auto isNumber = [](const QByteArray& word, int base) {
        bool valid = false;
        word.toULongLong(&valid, base);
        return valid;
    };
    return words.size() >= 4 && isNumber(words[0], 16) && isNumber(words[1], 10) && words[2].size() == 1 &&
           QByteArray("SCE").contains(words[2]) && words[3].count(':') > 0;
}

QString readUsbmonText(QIODevice& device, RecordSink& sink, JobProgress& progress)
{
    const qint64 whole = device.size(); // once: each question goes to the system
    while (!device.atEnd() && !progress.isCancelled()) {
        const QByteArray line = device.readLine(kLongestLine);
        progress.setPart(device.pos(), whole);
        if (line.trimmed().isEmpty())
            continue;
        std::optional<UsbIPPacketInfo> packet = packetOf(line, sink.numbers());
        if (!packet) {
            sink.countDamaged();
            continue;
        }
        if (!line.endsWith('\n') && missingBytes(*packet) > 0)
            return CaptureFile::tr("The file ends within a packet.");
        sink.add(std::move(*packet));
    }
    return {};
}
