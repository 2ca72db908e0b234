#include "capture/decode/seen_devices.h"

#include "capture/channel/line_names.h"
#include "capture/decode/counterpart.h"
#include "capture/decode/descriptor_forms.h"
#include "capture/decode/descriptor_rows.h"

#include <algorithm>

namespace {

constexpr std::size_t kFarthest = 10'000; // packets between a request and its reply
constexpr std::size_t kMostDevices = 1000;
constexpr std::size_t kMostFacts = 1000; // of one kind, about one device
constexpr std::uint8_t kPipeUsage = 0x24;

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
    Device& device = m_devices[asked.deviceId];
    if (byteAt(asked.setupData, 1) != kGetDescriptor) {
        remember(device.settings, {*reply, byteAt(asked.setupData, 4), byteAt(asked.setupData, 2)});
    } else if (byteAt(asked.setupData, 3) == descriptor_type::Report) {
        remember(device.reports, {*reply, byteAt(asked.setupData, 4), told.data});
    } else {
        Configuration configuration = configurationOf(told.data, *reply);
        const bool isKnown =
            !device.configurations.empty() && device.configurations.back().bytes == configuration.bytes;
        if (!configuration.interfaces.empty() && !isKnown)
            remember(device.configurations, std::move(configuration));
    }
    return true;
}

SeenDevices::Configuration SeenDevices::configurationOf(const QByteArray& bytes, std::size_t number)
{
    constexpr int kInterfaceSize = 9; // bytes
    Configuration configuration{number, bytes, {}, {}};
    int offset = 0;
    while (const std::optional<DescriptorAt> descriptor = descriptorAt(bytes, offset)) {
        const bool hasInterface = !configuration.interfaces.empty();
        if (descriptor->type == descriptor_type::Interface && descriptor->size >= kInterfaceSize)
            configuration.interfaces.push_back(interfaceKindAt(bytes, offset));
        else if (descriptor->type == descriptor_type::Endpoint && descriptor->size >= 3 && hasInterface)
            configuration.endpoints.push_back({byteAt(bytes, offset + 2), 0, configuration.interfaces.back()});
        else if (descriptor->type == kPipeUsage && !configuration.endpoints.empty() && descriptor->size >= 3)
            configuration.endpoints.back().pipe = byteAt(bytes, offset + 2);
        offset += descriptor->size;
    }
    return configuration;
}

/// 0 until a request has chosen another one; what was chosen later is no matter here.
std::uint8_t SeenDevices::alternateOf(const Device& device, std::uint8_t interface, std::size_t number)
{
    std::uint8_t alternate = 0;
    for (const Setting& setting : device.settings) {
        if (setting.interface == interface && setting.number <= number)
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
    const auto configuration = factFor(device.configurations, number, [](const auto&) { return true; });
    if (configuration == device.configurations.end())
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
}
