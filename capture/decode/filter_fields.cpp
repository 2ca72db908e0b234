#include "capture/decode/filter_fields.h"

#include "capture/channel/usbip_header.h"

#include <QtEndian>

namespace {

using Number = std::optional<std::int64_t>;

Number replyWord(const PacketView& packet, int place)
{
    if (packet.isRequest || !usbip_header::has(packet.usbipHeader, place))
        return std::nullopt;
    return static_cast<std::int32_t>(usbip_header::word(packet.usbipHeader, place));
}

Number setupByte(const PacketView& packet, std::size_t offset)
{
    if (packet.setupData.size() < 8)
        return std::nullopt;
    return static_cast<std::uint8_t>(packet.setupData[offset]);
}

Number setupWord(const PacketView& packet, std::size_t offset)
{
    if (packet.setupData.size() < 8)
        return std::nullopt;
    return qFromLittleEndian<std::uint16_t>(packet.setupData.data() + offset);
}

} // namespace

const std::map<QString, filter_fields::NumberField>& filter_fields::numbers()
{
    const auto name = [](const char* text) { return QString::fromLatin1(text); };
    static const std::map<QString, NumberField> s_fields{
        {name("actual"), {[](const PacketView& p) { return replyWord(p, usbip_header::ActualLength); }, {}}},
        {name("command"), {[](const PacketView& p) { return Number(p.command); }, {}}},
        {name("device"), {[](const PacketView& p) { return Number(p.deviceId); }, {}}},
        {name("direction"),
         {[](const PacketView& p) { return Number(p.direction != 0 ? 1 : 0); }, {{name("in"), 1}, {name("out"), 0}}}},
        {name("endpoint"), {[](const PacketView& p) { return Number(p.endpoint); }, {}}},
        {name("index"), {[](const PacketView& p) { return setupWord(p, 4); }, {}}},
        {name("kind"),
         {[](const PacketView& p) { return Number(p.isRequest ? 1 : 0); }, {{name("request"), 1}, {name("reply"), 0}}}},
        {name("length"), {[](const PacketView& p) { return Number(p.transferLength); }, {}}},
        {name("present"), {[](const PacketView& p) { return Number(qint64(p.data.size())); }, {}}},
        {name("request"), {[](const PacketView& p) { return setupByte(p, 1); }, {}}},
        {name("requesttype"), {[](const PacketView& p) { return setupByte(p, 0); }, {}}},
        {name("sequence"), {[](const PacketView& p) { return Number(p.sequenceNumber); }, {}}},
        {name("status"), {[](const PacketView& p) { return replyWord(p, usbip_header::Status); }, {}}},
        {name("transfer"),
         {[](const PacketView& p) { return Number(p.transferType); },
          {{name("control"), ControlTransfer},
           {name("isochronous"), IsochronousTransfer},
           {name("bulk"), BulkTransfer},
           {name("interrupt"), InterruptTransfer}}}},
        {name("value"), {[](const PacketView& p) { return setupWord(p, 2); }, {}}},
    };
    return s_fields;
}

const std::map<QString, filter_fields::BytesField>& filter_fields::bytes()
{
    const auto name = [](const char* text) { return QString::fromLatin1(text); };
    static const std::map<QString, BytesField> s_fields{
        {name("data"), {[](const PacketView& p) { return p.data; }}},
        {name("details"), {[](const PacketView& p) { return p.parsedDetails; }, true}},
        {name("header"), {[](const PacketView& p) { return p.usbipHeader; }}},
        {name("setup"), {[](const PacketView& p) { return p.setupData; }}},
    };
    return s_fields;
}

const std::map<QString, filter_fields::FlagField>& filter_fields::flags()
{
    const auto name = [](const char* text) { return QString::fromLatin1(text); };
    static const std::map<QString, FlagField> s_fields{
        {name("cut"), [](const PacketView& p) { return missingBytes(p) > 0; }},
        {name("unlink"), [](const PacketView& p) { return p.isUnlink; }},
    };
    return s_fields;
}
