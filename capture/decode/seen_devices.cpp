#include "capture/decode/seen_devices.h"

#include "capture/channel/line_names.h"
#include "capture/channel/usbip_header.h"
#include "capture/decode/counterpart.h"
#include "capture/decode/descriptor_forms.h"
#include "capture/decode/descriptor_rows.h"

#include <algorithm>

namespace {

constexpr std::size_t kFarthest = 10'000; // packets between a request and its reply
constexpr std::size_t kMostDevices = 1000;
constexpr std::size_t kMostFacts = 1000; // of one kind, about one device
constexpr std::uint8_t kPipeUsage = 0x24;
constexpr std::uint8_t kSetConfiguration = 9;

std::uint8_t byteAt(const QByteArray& bytes, int place)
{
    return place < bytes.size() ? static_cast<std::uint8_t>(bytes.at(place)) : std::uint8_t(0);
}

/// The last of the facts before the packet that is wanted, or the first one after it.
template<typename Facts, typename Wanted>
auto factFor(const Facts& facts, std::size_t number, Wanted wanted)
{
    auto found = facts.end();
    for (auto fact = facts.begin(); fact != facts.end() && (fact->number <= number || found == facts.end()); ++fact) {
        if (wanted(*fact))
            found = fact;
    }
    return found;
}

bool hasUnits(const InterfaceKind& interface)
{
    return (interface.classCode == usb_class::Video && interface.subclass == usb_class::VideoControl) ||
           (interface.classCode == usb_class::Audio && interface.subclass == usb_class::AudioControl);
}

/// Units and terminals of both classes begin alike; a header looks like one with an id that nobody asks for.
UnitKind unitAt(const QByteArray& bytes, const DescriptorAt& descriptor, std::uint8_t interface)
{
    constexpr std::uint8_t kHeader = 1; // subtypes
    constexpr std::uint8_t kInputTerminal = 2;
    constexpr std::uint8_t kOutputTerminal = 3;
    const int offset = descriptor.offset;
    const std::uint8_t subtype = byteAt(bytes, offset + 2);
    const bool isTerminal = (subtype == kInputTerminal || subtype == kOutputTerminal) && descriptor.size >= 6;
    const auto terminal = static_cast<std::uint16_t>(byteAt(bytes, offset + 4) | byteAt(bytes, offset + 5) << 8);
    return {interface, subtype == kHeader ? std::uint8_t(0) : byteAt(bytes, offset + 3), subtype,
            isTerminal ? terminal : std::uint16_t(0)};
}

template<typename Fact>
void remember(std::vector<Fact>& facts, Fact fact)
{
    if (facts.size() < kMostFacts)
        facts.push_back(std::move(fact));
}

} // namespace

SeenDevices::SeenDevices(std::shared_ptr<const PacketStore> store, std::size_t first)
    : m_reader(std::move(store))
    , m_first(first)
{}

void SeenDevices::learn()
{
    const std::vector<std::uint32_t> requests = m_reader.store().notedRequests(m_learned);
    for (const std::uint32_t request : requests) {
        if (request >= m_first && !learnFrom(request))
            return; // its reply is yet to come
        ++m_learned;
    }
}

/// False when the reply may still come.
bool SeenDevices::learnFrom(std::size_t request)
{
    const std::size_t end = m_reader.store().size();
    const std::optional<std::size_t> reply = counterpartOf(m_reader, m_first, end, request, kFarthest);
    if (!reply)
        return end - request > kFarthest;
    const UsbIPPacketInfo asked = m_reader.read(request).copy();
    const UsbIPPacketInfo told = m_reader.read(*reply).copy();
    if (m_devices.size() >= kMostDevices && m_devices.count(asked.deviceId) == 0)
        return true;
    if (usbip_header::word(told.usbipHeader, usbip_header::Status) != 0)
        return true; // the device refused
    Device& device = m_devices[asked.deviceId];
    const std::uint8_t code = byteAt(asked.setupData, 1);
    if (code == kSetConfiguration)
        remember(device.choices, {*reply, byteAt(asked.setupData, 2)});
    else if (code != kGetDescriptor)
        remember(device.settings, {*reply, byteAt(asked.setupData, 4), byteAt(asked.setupData, 2)});
    else if (byteAt(asked.setupData, 3) == descriptor_type::Report)
        remember(device.reports, {*reply, byteAt(asked.setupData, 4), told.data});
    else
        learnConfiguration(device, told.data, *reply);
    return true;
}

void SeenDevices::learnConfiguration(Device& device, const QByteArray& bytes, std::size_t number)
{
    Configuration configuration = configurationOf(bytes, number);
    const auto before = std::find_if(device.configurations.rbegin(), device.configurations.rend(),
                                     [&](const Configuration& known) { return known.value == configuration.value; });
    const bool isKnown = before != device.configurations.rend() && before->bytes == configuration.bytes;
    if (!configuration.interfaces.empty() && !isKnown)
        remember(device.configurations, std::move(configuration));
}

/// The one that was chosen; when nobody saw that, or saw it told, the one that was told of last. Null when there is
/// none.
const SeenDevices::Configuration* SeenDevices::configurationFor(const Device& device, std::size_t number)
{
    const auto choice = factFor(device.choices, number, [](const Choice&) { return true; });
    auto found = device.configurations.end();
    if (choice != device.choices.end())
        found = factFor(device.configurations, number,
                        [&](const Configuration& candidate) { return candidate.value == choice->value; });
    if (found == device.configurations.end())
        found = factFor(device.configurations, number, [](const Configuration&) { return true; });
    return found == device.configurations.end() ? nullptr : &*found;
}

SeenDevices::Configuration SeenDevices::configurationOf(const QByteArray& bytes, std::size_t number)
{
    constexpr int kInterfaceSize = 9; // bytes
    Configuration configuration{number, bytes, byteAt(bytes, 5), {}, {}, {}};
    int offset = 0;
    while (const std::optional<DescriptorAt> descriptor = descriptorAt(bytes, offset)) {
        const bool hasInterface = !configuration.interfaces.empty();
        if (descriptor->type == descriptor_type::Interface && descriptor->size >= kInterfaceSize)
            configuration.interfaces.push_back(interfaceKindAt(bytes, offset));
        else if (descriptor->type == descriptor_type::Endpoint && descriptor->size >= 3 && hasInterface)
            configuration.endpoints.push_back({byteAt(bytes, offset + 2), 0, configuration.interfaces.back()});
        else if (descriptor->type == descriptor_type::ClassInterface && hasInterface && descriptor->size >= 4 &&
                 hasUnits(configuration.interfaces.back()))
            configuration.units.push_back(unitAt(bytes, *descriptor, configuration.interfaces.back().number));
        else if (descriptor->type == kPipeUsage && !configuration.endpoints.empty() && descriptor->size >= 3)
            configuration.endpoints.back().pipe = byteAt(bytes, offset + 2);
        offset += descriptor->size;
    }
    return configuration;
}

/// 0 until a request has chosen another one, and again when a configuration is chosen; what was chosen later is no
/// matter here.
std::uint8_t SeenDevices::alternateOf(const Device& device, std::uint8_t interface, std::size_t number)
{
    std::size_t since = 0;
    for (const Choice& choice : device.choices) {
        if (choice.number <= number)
            since = choice.number;
    }
    std::uint8_t alternate = 0;
    for (const Setting& setting : device.settings) {
        if (setting.interface == interface && setting.number >= since && setting.number <= number)
            alternate = setting.alternate;
    }
    return alternate;
}

PacketContext SeenDevices::contextOf(std::size_t number)
{
    learn();
    PacketContext context;
    const UsbIPPacketInfo packet = m_reader.read(number).copy();
    const bool control = packet.transferType == ControlTransfer;
    if (control)
        context.setup = packet.setupData;
    if (control && !packet.isRequest) {
        if (const auto request = counterpartOf(m_reader, m_first, number, number, kFarthest))
            context.setup = m_reader.read(*request).copy().setupData;
    }
    const auto found = m_devices.find(packet.deviceId);
    if (found == m_devices.end())
        return context;
    const Device& device = found->second;
    const Configuration* configuration = configurationFor(device, number);
    if (!configuration)
        return context;
    const std::uint8_t recipient = request_type::recipient(byteAt(context.setup, 0));
    if (!control)
        findEndpoint(device, *configuration, number,
                     static_cast<std::uint8_t>(packet.endpoint | (packet.direction != 0 ? 0x80 : 0)), context);
    else if (recipient == 2)
        findEndpoint(device, *configuration, number, byteAt(context.setup, 4), context);
    else if (recipient == 1)
        findInterface(device, *configuration, number, byteAt(context.setup, 4), context);
    if (!context.interface)
        return context;
    const auto report = factFor(device.reports, number, [&](const Report& candidate) {
        return candidate.interface == context.interface->number;
    });
    if (report != device.reports.end())
        context.reportDescriptor = report->descriptor;
    return context;
}

// Of several alternate settings the one that is chosen goes; the first one when it is not known.
void SeenDevices::findEndpoint(const Device& device, const Configuration& configuration, std::size_t number,
                               std::uint8_t address, PacketContext& context)
{
    for (const Endpoint& endpoint : configuration.endpoints) {
        const std::uint8_t chosen = alternateOf(device, endpoint.interface.number, number);
        if (endpoint.address == address && (endpoint.interface.alternate == chosen || !context.interface)) {
            context.interface = endpoint.interface;
            context.pipe = endpoint.pipe;
        }
    }
}

void SeenDevices::findInterface(const Device& device, const Configuration& configuration, std::size_t number,
                                std::uint8_t index, PacketContext& context)
{
    for (const InterfaceKind& interface : configuration.interfaces) {
        const std::uint8_t chosen = alternateOf(device, interface.number, number);
        if (interface.number == index && (interface.alternate == chosen || !context.interface))
            context.interface = interface;
    }
    const std::uint8_t id = byteAt(context.setup, 5);
    const auto unit =
        std::find_if(configuration.units.begin(), configuration.units.end(),
                     [&](const UnitKind& candidate) { return candidate.interface == index && candidate.id == id; });
    if (unit != configuration.units.end() && id != 0)
        context.unit = *unit;
}
