#include "capture/channel/protocol_line.h"

#include "capture/channel/line_names.h"
#include "capture/channel/usbip_header.h"

#include <algorithm>

namespace {

/// Collects ASCII text on the stack: the line is made for every packet that arrives.
class LineBuffer
{
public:
    void add(QLatin1String text)
    {
        const int size = std::min(text.size(), static_cast<int>(sizeof m_text) - m_size);
        std::copy_n(text.data(), size, m_text + m_size);
        m_size += size;
    }
    void addWord(QLatin1String text)
    {
        add(text);
        add(QLatin1String(" "));
    }
    void addHex(std::uint32_t value, bool upperCase = false, int minimumDigits = 1)
    {
        const char* digits = upperCase ? "0123456789ABCDEF" : "0123456789abcdef";
        char text[8];
        int first = 8;
        do {
            text[--first] = digits[value & 0x0F];
            value >>= 4;
        } while (value != 0 || 8 - first < minimumDigits);
        add(QLatin1String(text + first, 8 - first));
    }
    QString text() const { return QString::fromLatin1(m_text, m_size); }

private:
    char m_text[192];
    int m_size = 0;
};

struct Setup
{
    std::uint8_t requestType;
    std::uint8_t request;
    std::uint8_t valueLow;
    std::uint8_t valueHigh;
    std::uint8_t indexLow;
    std::uint8_t indexHigh;
};

void addStandardRequest(LineBuffer& line, const Setup& setup)
{
    const QLatin1String name = line_names::standardRequest(setup.request);
    if (name.size() == 0) {
        line.add(QLatin1String("REQ:0x"));
        line.addHex(setup.request, true, 2);
        return;
    }
    line.add(name);
    if (setup.request != kGetDescriptor)
        return;
    const QLatin1String descriptor = line_names::descriptorType(setup.valueHigh);
    if (descriptor.size() != 0) {
        line.add(descriptor);
    } else {
        line.add(QLatin1String("0x"));
        line.addHex(setup.valueHigh);
    }
}

void addClassRequest(LineBuffer& line, const Setup& setup)
{
    const QLatin1String name = line_names::classRequest(setup.request);
    if (name.size() != 0) {
        line.add(name);
    } else {
        line.add(QLatin1String("REQ:0x"));
        line.addHex(setup.request);
    }
    line.add(QLatin1String(" [INTF:"));
    line.addHex(setup.indexLow, true, 2);
    line.add(QLatin1String(" UNIT:"));
    line.addHex(setup.indexHigh, true, 2);
    line.add(QLatin1String(" CS:"));
    line.addHex(setup.valueHigh, true, 2);
    line.add(QLatin1String(" ZERO:"));
    line.addHex(setup.valueLow, true, 2);
    line.add(QLatin1String("]"));
}

QString requestLine(const QByteArray& setupData)
{
    if (setupData.size() < 8)
        return {};
    const auto byteAt = [&setupData](int index) { return static_cast<std::uint8_t>(setupData.at(index)); };
    const Setup setup{byteAt(0), byteAt(1), byteAt(2), byteAt(3), byteAt(4), byteAt(5)};
    const std::uint8_t type = request_type::type(setup.requestType);

    LineBuffer line;
    line.addWord(line_names::direction(request_type::isIn(setup.requestType)));
    line.addWord(line_names::type(type));
    line.addWord(line_names::recipient(request_type::recipient(setup.requestType)));
    if (type == 0)
        addStandardRequest(line, setup);
    else
        addClassRequest(line, setup);
    return line.text();
}

QString replyLine(const QByteArray& header)
{
    LineBuffer line;
    line.add(QLatin1String("status=0x"));
    line.addHex(usbip_header::word(header, usbip_header::Status));
    line.add(QLatin1String(" len=0x"));
    line.addHex(usbip_header::word(header, usbip_header::ActualLength));
    return line.text();
}

} // namespace

QString protocolLine(const UsbIPPacketInfo& packet)
{
    if (packet.transferType != ControlTransfer)
        return {};
    return packet.isRequest ? requestLine(packet.setupData) : replyLine(packet.usbipHeader);
}
