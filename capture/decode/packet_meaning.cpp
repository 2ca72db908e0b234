#include "capture/decode/packet_meaning.h"

#include "capture/channel/line_names.h"
#include "capture/decode/class_requests.h"
#include "capture/decode/ctap_hid_rows.h"
#include "capture/decode/descriptor_rows.h"
#include "capture/decode/hex_text.h"
#include "capture/decode/hid_report.h"
#include "capture/decode/hid_usages.h"
#include "capture/decode/packet_decoder.h"
#include "capture/decode/storage_rows.h"

namespace {

std::uint8_t byteAt(const QByteArray& bytes, int place)
{
    return place < bytes.size() ? static_cast<std::uint8_t>(bytes.at(place)) : std::uint8_t(0);
}

QString kindText(const InterfaceKind& interface)
{
    const char* name = usb_class::subclassName(interface.classCode, interface.subclass);
    if (!name)
        name = usb_class::name(interface.classCode);
    return QStringLiteral("%1, interface %2")
        .arg(name ? QString(QLatin1String(name)) : hexNumber(interface.classCode, 2))
        .arg(interface.number);
}

/// Adds the fields of a report; the text is what is pressed, moved or lit.
QString addReport(const QByteArray& data, const QByteArray& descriptor, HidReportKind kind, DetailRow& parent)
{
    HidReportText report = hidReportText(data, HidReportForm::of(descriptor), kind);
    if (report.rows.children.empty())
        return {};
    report.rows.name = QStringLiteral("HID Report");
    report.rows.bytes = {ByteSpan::Part::Data, 0, data.size()};
    parent.children.push_back(std::move(report.rows));
    return QStringLiteral("HID Report: %1")
        .arg(report.active.isEmpty() ? QStringLiteral("all 0") : report.active.join(QStringLiteral(", ")));
}

QString addClassRequest(const UsbIPPacketInfo& packet, const PacketContext& context, DetailRow& parent)
{
    const InterfaceKind& interface = *context.interface;
    QString text = classRequestText(context.setup, interface, context.unit);
    if (text.isEmpty())
        return text;
    DetailRow& group =
        parent.add(QStringLiteral("Class Request"), {}, {ByteSpan::Part::Setup, 0, packet.setupData.size()});
    group.add(QStringLiteral("Interface"), kindText(interface));
    group.add(QStringLiteral("Request"), text,
              packet.setupData.size() > 1 ? ByteSpan{ByteSpan::Part::Setup, 1, 1} : ByteSpan());
    addClassRequestData(context.setup, packet.data, interface, group);
    if (!isReportRequest(context.setup, interface) || packet.data.isEmpty())
        return text;
    constexpr std::uint8_t kOutput = 2; // report types of the request
    constexpr std::uint8_t kFeature = 3;
    const std::uint8_t type = byteAt(context.setup, 3);
    const HidReportKind kind = type == kOutput    ? HidReportKind::Output
                               : type == kFeature ? HidReportKind::Feature
                                                  : HidReportKind::Input;
    const QString report = addReport(packet.data, context.reportDescriptor, kind, parent);
    return report.isEmpty() ? text : QStringLiteral("%1; %2").arg(text, report);
}

QString addControl(const UsbIPPacketInfo& packet, const PacketContext& context, DetailRow& parent)
{
    if (context.setup.size() < 8)
        return {};
    const std::uint8_t type = request_type::type(byteAt(context.setup, 0));
    if (type == 1 && context.interface)
        return addClassRequest(packet, context, parent);
    if (type != 0 || packet.isRequest || packet.data.isEmpty() || byteAt(context.setup, 1) != kGetDescriptor)
        return {};
    const std::uint8_t descriptor = byteAt(context.setup, 3);
    addDescriptors(packet.data, descriptor, parent);
    const char* name = descriptorName(descriptor);
    return name ? QString(QLatin1String(name)) : QString();
}

QString addBulk(const UsbIPPacketInfo& packet, const PacketContext& context, DetailRow& parent)
{
    constexpr int kOperation = 15; // place in a command block wrapper
    if (context.pipe != 0)
        return addInformationUnit(packet.data, context.pipe, parent);
    if (packet_decoder::isBulkOnly(packet.data) && packet.data.size() > kOperation)
        return QStringLiteral("BOT Command: %1").arg(scsiName(byteAt(packet.data, kOperation)));
    return addBulkOnlyStatus(packet.data, parent);
}

QString addInterrupt(const UsbIPPacketInfo& packet, const PacketContext& context, DetailRow& parent)
{
    if (packet.data.isEmpty() || !context.interface || context.interface->classCode != usb_class::Hid)
        return {};
    const bool in = packet.direction != 0;
    if (HidReportForm::of(context.reportDescriptor).firstUsage == hid_usage::kSecurityKey)
        return addCtapHid(packet.data, in, parent);
    return addReport(packet.data, context.reportDescriptor, in ? HidReportKind::Input : HidReportKind::Output, parent);
}

} // namespace

PacketMeaning packetMeaning(const UsbIPPacketInfo& packet, const PacketContext& context)
{
    PacketMeaning meaning;
    if (packet.isUnlink)
        return meaning;
    if (packet.transferType == ControlTransfer)
        meaning.text = addControl(packet, context, meaning.rows);
    else if (packet.transferType == BulkTransfer)
        meaning.text = addBulk(packet, context, meaning.rows);
    else if (packet.transferType == InterruptTransfer)
        meaning.text = addInterrupt(packet, context, meaning.rows);
    return meaning;
}

QString meaningText(const PacketView& packet, SeenDevices& seen)
{
    return packetMeaning(packet.borrow(), seen.contextOf(packet.number)).text;
}
