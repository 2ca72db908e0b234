#include "capture/decode/descriptor_rows.h"

#include "capture/decode/descriptor_forms.h"
#include "capture/decode/hex_text.h"
#include "capture/decode/hid_report.h"

#include <QtEndian>

namespace {

constexpr int kMostDescriptors = 1000; // that get rows
constexpr int kInterfaceSize = 9;      // bytes
constexpr std::uint8_t kPipeUsage = 0x24;

constexpr NamedNumber kPipes[] = {{1, "command"}, {2, "status"}, {3, "data-in"}, {4, "data-out"}};
constexpr Field kPipe[] = {{"bPipeID", 1, FieldForm::Decimal, nameIn<kPipes>}, {"bReserved", 1}};

constexpr Field kHead[] = {{"bLength", 1}, {"bDescriptorType", 1, FieldForm::Hex}};
constexpr Field kSubtype[] = {{"bDescriptorSubtype", 1, FieldForm::Hex}};
constexpr Field kCapabilityType[] = {{"bDevCapabilityType", 1, FieldForm::Hex}};

std::uint8_t byteAt(const QByteArray& bytes, int place)
{
    return place < bytes.size() ? static_cast<std::uint8_t>(bytes.at(place)) : std::uint8_t(0);
}

const DescriptorForm* classForm(std::uint8_t type, std::uint8_t subtype, const InterfaceKind& interface)
{
    if (type != descriptor_type::ClassInterface && type != descriptor_type::ClassEndpoint)
        return nullptr;
    if (interface.classCode == usb_class::Video)
        return videoForm(type, subtype, interface);
    return interface.classCode == usb_class::Audio ? audioForm(type, subtype, interface) : nullptr;
}

/// Language ids of string 0, or the text.
void addString(const QByteArray& data, const DescriptorAt& descriptor, DetailRow& group)
{
    QString text;
    for (int place = descriptor.offset + 2; place + 1 < descriptor.offset + descriptor.size; place += 2)
        text += QChar(qFromLittleEndian<quint16>(data.constData() + place));
    group.add(QStringLiteral("bString"), text,
              {ByteSpan::Part::Data, descriptor.offset + 2, std::max(descriptor.size - 2, 0)});
}

class Rows
{
public:
    Rows(const QByteArray& data, DetailRow& parent) : m_data(data), m_parent(parent) {}

    void add(const DescriptorAt& descriptor)
    {
        const int end = descriptor.offset + descriptor.size;
        if (descriptor.type == descriptor_type::Interface && descriptor.size >= kInterfaceSize)
            m_interface = interfaceKindAt(m_data, descriptor.offset);
        const std::uint8_t subtype = byteAt(m_data, descriptor.offset + 2);
        DetailRow& group =
            m_parent.add(titleOf(descriptor, subtype), {}, {ByteSpan::Part::Data, descriptor.offset, descriptor.size});
        FieldRows rows(m_data, ByteSpan::Part::Data, descriptor.offset, end);
        rows.add(group, kHead);
        if (descriptor.type == descriptor_type::String)
            return addString(m_data, descriptor, group);
        if (isPipeUsage(descriptor)) {
            rows.add(group, kPipe);
        } else if (const DescriptorForm* form = classForm(descriptor.type, subtype, m_interface)) {
            rows.add(group, kSubtype);
            rows.add(group, form->fields);
        } else if (descriptor.type == descriptor_type::Capability) {
            rows.add(group, kCapabilityType);
            if (const DescriptorForm* capability = capabilityForm(subtype))
                rows.add(group, capability->fields);
        } else if (const DescriptorForm* standard = standardForm(descriptor.type)) {
            rows.add(group, standard->fields);
        }
        rows.addRest(group, "Data");
    }

private:
    bool isPipeUsage(const DescriptorAt& descriptor) const
    {
        return descriptor.type == kPipeUsage && m_interface.classCode == usb_class::MassStorage &&
               m_interface.protocol == usb_class::AttachedScsi;
    }

    QString titleOf(const DescriptorAt& descriptor, std::uint8_t subtype) const
    {
        const char* name = descriptorName(descriptor.type);
        if (isPipeUsage(descriptor))
            name = "Pipe Usage Descriptor";
        else if (const DescriptorForm* form = classForm(descriptor.type, subtype, m_interface))
            name = form->name;
        const DescriptorForm* capability =
            descriptor.type == descriptor_type::Capability ? capabilityForm(subtype) : nullptr;
        if (capability)
            name = capability->name;
        return name ? QString(QLatin1String(name))
                    : QStringLiteral("Descriptor of Type %1").arg(hexNumber(descriptor.type, 2));
    }

    const QByteArray& m_data;
    DetailRow& m_parent;
    InterfaceKind m_interface; // that the descriptors belong to
};

} // namespace

const char* descriptorName(std::uint8_t type)
{
    if (type == descriptor_type::Report)
        return "HID Report Descriptor";
    const DescriptorForm* form = standardForm(type);
    return form ? form->name : nullptr;
}

std::optional<DescriptorAt> descriptorAt(const QByteArray& bytes, int offset)
{
    const int left = bytes.size() - offset;
    const int size = byteAt(bytes, offset);
    if (left < 2 || size < 2)
        return std::nullopt;
    return DescriptorAt{byteAt(bytes, offset + 1), offset, std::min(size, left)};
}

InterfaceKind interfaceKindAt(const QByteArray& bytes, int offset)
{
    return {byteAt(bytes, offset + 2), byteAt(bytes, offset + 3), byteAt(bytes, offset + 5), byteAt(bytes, offset + 6),
            byteAt(bytes, offset + 7)};
}

void addDescriptors(const QByteArray& data, std::uint8_t requested, DetailRow& parent)
{
    if (data.isEmpty())
        return;
    if (requested == descriptor_type::Report)
        return addReportDescriptor(data, parent);
    Rows rows(data, parent);
    int offset = 0;
    for (int count = 0; count < kMostDescriptors; ++count) {
        const std::optional<DescriptorAt> descriptor = descriptorAt(data, offset);
        if (!descriptor)
            break;
        rows.add(*descriptor);
        offset += descriptor->size;
    }
    FieldRows(data, ByteSpan::Part::Data, offset, data.size()).addRest(parent, "Data");
}
