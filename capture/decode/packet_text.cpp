#include "capture/decode/packet_text.h"

#include "capture/channel/usbip_header.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/status_names.h"

#include <QDateTime>

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::size_t kSetupLimit = 8; // bytes that the columns show
constexpr std::size_t kDataLimit = 64;
constexpr std::int64_t kHour = 3600 * 1000; // ms

char folded(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

bool consistsOf(std::string_view text, std::string_view letters)
{
    return text.find_first_not_of(letters) == std::string_view::npos;
}

QByteArray bytesMeant(const QString& text)
{
    QByteArray pairs = text.toLatin1();
    pairs.replace(' ', QByteArray()).replace(':', QByteArray());
    const bool hex = pairs.size() >= 4 && pairs.size() % 2 == 0 &&
                     consistsOf({pairs.constData(), std::size_t(pairs.size())}, "0123456789abcdefABCDEF");
    return hex ? QByteArray::fromHex(pairs) : QByteArray();
}

bool inNumber(std::uint32_t number, std::string_view text)
{
    std::array<char, 12> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())).find(text) !=
           std::string_view::npos;
}

char* putNumber(char* place, std::int64_t value, int digits)
{
    for (int digit = digits - 1; digit >= 0; --digit, value /= 10)
        place[digit] = static_cast<char>('0' + value % 10);
    return place + digits;
}

constexpr std::string_view kHexDigits = "0123456789abcdef";

} // namespace

bool containsFolded(std::string_view bytes, std::string_view text)
{
    return std::search(bytes.begin(), bytes.end(), text.begin(), text.end(),
                       [](char byte, char wanted) { return folded(byte) == wanted; }) != bytes.end();
}

TextSearch::TextSearch(const QString& text)
    : m_text(text.toLower().toStdString())
    , m_bytes(bytesMeant(text))
    , m_mayBeNumber(consistsOf(m_text, "0123456789"))
    , m_mayBeTime(consistsOf(m_text, "0123456789:."))
    , m_mayBeHex(consistsOf(m_text, "0123456789abcdef ."))
{}

bool TextSearch::matches(const PacketView& packet)
{
    const auto has = [this](std::string_view column) { return column.find(m_text) != std::string_view::npos; };
    if (containsFolded(packet.parsedDetails, m_text) || containsFolded(packet.protocolInfo, m_text))
        return true;
    if (m_mayBeNumber && (inNumber(packet.sequenceNumber, m_text) || inNumber(packet.transferLength, m_text)))
        return true;
    if (m_mayBeTime && inTime(packet.timestamp))
        return true;
    static constexpr std::array<std::string_view, 5> kTypes{"ctl", "iso", "blk", "int", "unk"};
    const std::array<char, 4> endpoint{'0', 'x', kHexDigits[packet.endpoint >> 4], kHexDigits[packet.endpoint & 15]};
    if (has(packet.isRequest ? "req" : "rep") || has({endpoint.data(), endpoint.size()}) ||
        has(kTypes[std::min<std::size_t>(packet.transferType, 4)]) || has(packet.direction != 0 ? "in" : "out"))
        return true;
    if (m_mayBeHex && ((packet.transferType == ControlTransfer && inHex(packet.setupData, kSetupLimit)) ||
                       inHex(packet.data, kDataLimit)))
        return true;
    if (!m_bytes.isEmpty() &&
        packet.data.find({m_bytes.constData(), std::size_t(m_bytes.size())}) != std::string_view::npos)
        return true;
    const auto status = static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, usbip_header::Status));
    return !packet.isRequest && status != 0 && containsFolded(transferStatusText(status).toStdString(), m_text);
}

/// "hh:mm:ss.zzz" of local time; the system is asked for one moment of each hour only.
bool TextSearch::inTime(std::int64_t timestamp)
{
    const std::int64_t hour = timestamp / kHour;
    if (hour != m_hour) {
        m_hour = hour;
        m_localHour = QDateTime::fromMSecsSinceEpoch(hour * kHour).time().msecsSinceStartOfDay();
    }
    const std::int64_t ofDay = (m_localHour + timestamp % kHour) % (24 * kHour);
    std::array<char, 12> text;
    char* end = putNumber(text.data(), ofDay / kHour, 2);
    *end++ = ':';
    end = putNumber(end, ofDay / 60'000 % 60, 2);
    *end++ = ':';
    end = putNumber(end, ofDay / 1000 % 60, 2);
    *end++ = '.';
    putNumber(end, ofDay % 1000, 3);
    return std::string_view(text.data(), text.size()).find(m_text) != std::string_view::npos;
}

bool TextSearch::inHex(std::string_view bytes, std::size_t limit) const
{
    std::array<char, 3 * kDataLimit + 4> text;
    char* end = text.data();
    for (const char byte : bytes.substr(0, limit)) {
        *end++ = kHexDigits[static_cast<std::uint8_t>(byte) >> 4];
        *end++ = kHexDigits[byte & 15];
        *end++ = ' ';
    }
    if (bytes.size() > limit)
        end = std::copy_n("...", 3, end);
    else if (end != text.data())
        --end;
    return std::string_view(text.data(), static_cast<std::size_t>(end - text.data())).find(m_text) !=
           std::string_view::npos;
}
