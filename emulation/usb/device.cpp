#include "emulation/usb/device.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace usb {

namespace {

/// bRequest of the standard requests.
enum Request : std::uint8_t
{
    GetStatus = 0,
    ClearFeature = 1,
    SetFeature = 3,
    SetAddress = 5,
    GetDescriptor = 6,
    GetConfiguration = 8,
    SetConfiguration = 9,
    GetInterface = 10,
    SetInterface = 11,
    SetExitLatency = 48,
    SetIsochronousDelay = 49,
};

/// wValue of CLEAR_FEATURE and SET_FEATURE; the same number means another thing for another recipient.
enum Feature : std::uint16_t
{
    EndpointHalt = 0,
    FunctionSuspend = 0,
    RemoteWakeup = 1,
    U1Enable = 48,
    U2Enable = 49,
};

constexpr std::uint16_t kFirstClassDescriptor = 0x20;

bool hasEndpoint(const AlternateSetting& alternate, std::uint8_t address)
{
    return std::any_of(alternate.endpoints.begin(), alternate.endpoints.end(),
                       [address](const Endpoint& endpoint) { return endpoint.bEndpointAddress == address; });
}

bool hasEndpoint(const Interface& interface, std::uint8_t address)
{
    return std::any_of(interface.alternates.begin(), interface.alternates.end(),
                       [address](const AlternateSetting& alternate) { return hasEndpoint(alternate, address); });
}

void answerWord(const TransferPointer& transfer, std::uint16_t word)
{
    QByteArray bytes(2, static_cast<char>(word));
    bytes[1] = static_cast<char>(word >> 8);
    transfer->completeIn(bytes);
}

void accept(const TransferPointer& transfer, bool accepted)
{
    transfer->complete(accepted ? Status::Ok : Status::Stall);
}

} // namespace

Device::Device(Function& function, Transfer::Completed completed)
    : m_function(function)
    , m_completed(std::move(completed))
{}

Device::~Device()
{
    m_completed = [](const Transfer&) {};
    takeBack(Status::Gone, [](const Transfer&) { return true; });
}

void Device::submit(Transfer::Request request)
{
    const std::uint32_t id = request.id;
    if (request.endpoint == 0) {
        request.type = TransferType::Control;
        request.length = std::min<std::uint32_t>(request.length, request.setup.wLength);
    } else if (const auto* endpoint = findEndpoint(std::uint8_t(request.endpoint | (request.in ? 0x80 : 0)))) {
        request.type = endpoint->type;
    }
    const auto transfer = std::make_shared<Transfer>(std::move(request),
                                                     [this](const Transfer& finished) { transferCompleted(finished); });
    m_pending.emplace(id, transfer);
    if (transfer->request().endpoint == 0)
        submitControl(transfer);
    else
        submitData(transfer);
}

void Device::transferCompleted(const Transfer& transfer)
{
    if (transfer.status() == Status::Stall && transfer.request().endpoint != 0)
        m_halted.insert(transfer.endpointAddress());
    const auto kept = m_pending.extract(transfer.request().id); // keeps it alive until the end of the call
    m_completed(transfer);
}

void Device::takeBack(Status status, const Chosen& chosen)
{
    std::vector<TransferPointer> taken;
    for (const auto& [id, transfer] : m_pending)
        if (chosen(*transfer))
            taken.push_back(transfer);
    for (const TransferPointer& transfer : taken) {
        if (transfer->isCompleted())
            continue; // by the function, which was told of an earlier one
        transfer->complete(status);
        m_function.cancelled(*transfer);
    }
}

bool Device::cancel(std::uint32_t id)
{
    const bool found = isPending(id);
    takeBack(Status::Cancelled, [id](const Transfer& transfer) { return transfer.request().id == id; });
    return found;
}

void Device::reset()
{
    takeBack(Status::Cancelled, [](const Transfer&) { return true; });
    m_configuration = 0;
    m_alternates.clear();
    m_halted.clear();
    m_features.clear();
    m_function.reset();
}

std::uint8_t Device::alternate(std::uint8_t interfaceNumber) const
{
    const auto found = m_alternates.find(interfaceNumber);
    return found == m_alternates.end() ? 0 : found->second;
}

const Interface* Device::findInterface(std::uint16_t wIndex) const
{
    const auto& interfaces = descriptors().configuration.interfaces;
    const auto number = static_cast<std::uint8_t>(wIndex); // the high byte may name an entity within the interface
    const auto found = std::find_if(interfaces.begin(), interfaces.end(),
                                    [number](const Interface& one) { return one.bInterfaceNumber == number; });
    return m_configuration == 0 || found == interfaces.end() ? nullptr : &*found;
}

const Endpoint* Device::findEndpoint(std::uint8_t address) const
{
    if (m_configuration == 0)
        return nullptr;
    for (const Interface& interface : descriptors().configuration.interfaces)
        for (const AlternateSetting& setting : interface.alternates)
            if (setting.bAlternateSetting == alternate(interface.bInterfaceNumber))
                for (const Endpoint& endpoint : setting.endpoints)
                    if (endpoint.bEndpointAddress == address)
                        return &endpoint;
    return nullptr;
}

bool Device::knowsEndpoint(std::uint16_t wIndex) const
{
    const auto address = static_cast<std::uint8_t>(wIndex);
    const auto& interfaces = descriptors().configuration.interfaces;
    return (address & 0x0F) == 0 ||
           (m_configuration != 0 && std::any_of(interfaces.begin(), interfaces.end(),
                                                [address](const Interface& one) { return hasEndpoint(one, address); }));
}

bool Device::reachesFunction(const SetupPacket& setup) const
{
    switch (setup.recipient()) {
    case Recipient::Device:
        return true;
    case Recipient::Interface:
        return findInterface(setup.wIndex) != nullptr;
    case Recipient::Endpoint:
        return m_configuration != 0 && knowsEndpoint(setup.wIndex);
    case Recipient::Other:
        return m_configuration != 0;
    }
    return false;
}

void Device::submitControl(const TransferPointer& transfer)
{
    const Transfer::Request& request = transfer->request();
    const SetupPacket& setup = request.setup;
    const bool wrongWay = setup.wLength != 0 && setup.isIn() != request.in;
    const bool dataMissing = !setup.isIn() && request.data.size() < setup.wLength;
    if (wrongWay || dataMissing)
        transfer->complete(Status::Stall);
    else if (setup.type() == RequestType::Standard)
        standardRequest(transfer);
    else if (reachesFunction(setup))
        m_function.controlRequest(transfer);
    else
        transfer->complete(Status::Stall);
}

void Device::submitData(const TransferPointer& transfer)
{
    const Endpoint* endpoint = findEndpoint(transfer->endpointAddress());
    const bool isIsochronous = endpoint && endpoint->type == TransferType::Isochronous;
    if (!endpoint || isIsochronous == transfer->request().packets.empty())
        transfer->complete(Status::NoAnswer);
    else if (isHalted(endpoint->bEndpointAddress))
        transfer->complete(Status::Stall);
    else
        m_function.submit(transfer);
}

void Device::standardRequest(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    const bool toDevice = setup.recipient() == Recipient::Device;
    const bool isSuper = descriptors().speed == Speed::Super;
    switch (setup.bRequest) {
    case GetStatus:
        return getStatus(transfer);
    case ClearFeature:
    case SetFeature:
        return changeFeature(transfer, setup.bRequest == SetFeature);
    case SetAddress: // the host's controller knows which device it speaks to
        return accept(transfer, toDevice && !setup.isIn() && setup.wValue <= 127 && setup.wIndex == 0);
    case GetDescriptor:
        return getDescriptor(transfer);
    case GetConfiguration:
        if (!toDevice || !setup.isIn())
            break;
        return transfer->completeIn(QByteArray(1, static_cast<char>(m_configuration)));
    case SetConfiguration:
        return setConfiguration(transfer);
    case GetInterface:
        return getInterface(transfer);
    case SetInterface:
        return setInterface(transfer);
    case SetExitLatency:
        return accept(transfer, isSuper && toDevice && !setup.isIn() && setup.wLength == 6);
    case SetIsochronousDelay:
        return accept(transfer, isSuper && toDevice && !setup.isIn() && setup.wLength == 0);
    default:
        break;
    }
    transfer->complete(Status::Stall);
}

void Device::getStatus(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    if (!setup.isIn() || setup.wValue != 0)
        return transfer->complete(Status::Stall);
    switch (setup.recipient()) {
    case Recipient::Device: {
        const auto bit = [this](Feature feature, int position) { return m_features.count(feature) << position; };
        const std::size_t powered = descriptors().configuration.selfPowered ? 1 : 0;
        return answerWord(
            transfer, static_cast<std::uint16_t>(powered | bit(RemoteWakeup, 1) | bit(U1Enable, 2) | bit(U2Enable, 3)));
    }
    case Recipient::Interface:
        if (findInterface(setup.wIndex))
            return answerWord(transfer, 0);
        break;
    case Recipient::Endpoint: {
        const auto address = static_cast<std::uint8_t>(setup.wIndex);
        if ((address & 0x0F) == 0 || findEndpoint(address))
            return answerWord(transfer, isHalted(address) ? 1 : 0);
        break;
    }
    case Recipient::Other:
        break;
    }
    transfer->complete(Status::Stall);
}

void Device::changeFeature(const TransferPointer& transfer, bool set)
{
    const SetupPacket& setup = transfer->request().setup;
    if (setup.isIn() || setup.wLength != 0)
        return transfer->complete(Status::Stall);
    switch (setup.recipient()) {
    case Recipient::Device:
        return accept(transfer, changeDeviceFeature(setup.wValue, set));
    case Recipient::Interface:
        return accept(transfer, descriptors().speed == Speed::Super && setup.wValue == FunctionSuspend &&
                                    findInterface(setup.wIndex));
    case Recipient::Endpoint: {
        const auto address = static_cast<std::uint8_t>(setup.wIndex);
        const bool isControl = (address & 0x0F) == 0; // never halts
        if (setup.wValue != EndpointHalt || (!isControl && !findEndpoint(address)))
            break;
        if (!isControl && set) {
            m_halted.insert(address);
            takeBack(Status::Stall,
                     [address](const Transfer& pending) { return pending.endpointAddress() == address; });
        }
        if (!isControl && !set) {
            m_halted.erase(address);
            m_function.haltCleared(address);
        }
        return transfer->complete();
    }
    case Recipient::Other:
        break;
    }
    transfer->complete(Status::Stall);
}

bool Device::changeDeviceFeature(std::uint16_t feature, bool set)
{
    const bool isSuper = descriptors().speed == Speed::Super;
    const bool known = (feature == RemoteWakeup && descriptors().configuration.remoteWakeup && !isSuper) ||
                       ((feature == U1Enable || feature == U2Enable) && isSuper && m_configuration != 0);
    if (known && set)
        m_features.insert(feature);
    else if (known)
        m_features.erase(feature);
    return known;
}

void Device::getDescriptor(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    const auto index = static_cast<std::uint8_t>(setup.wValue);
    const int type = setup.wValue >> 8;
    if (!setup.isIn())
        return transfer->complete(Status::Stall);
    if (type >= kFirstClassDescriptor) {
        if (reachesFunction(setup))
            return m_function.controlRequest(transfer);
        return transfer->complete(Status::Stall);
    }
    QByteArray bytes;
    if (setup.recipient() == Recipient::Device) {
        if (type == 3)
            bytes = stringDescriptor(descriptors(), index, setup.wIndex);
        else if (index == 0 && type == 1)
            bytes = deviceDescriptor(descriptors());
        else if (index == 0 && type == 2)
            bytes = configurationDescriptor(descriptors());
        else if (index == 0 && type == 6)
            bytes = deviceQualifierDescriptor(descriptors());
        else if (index == 0 && type == 15)
            bytes = binaryObjectStoreDescriptor(descriptors());
    }
    if (bytes.isEmpty())
        transfer->complete(Status::Stall);
    else
        transfer->completeIn(bytes);
}

void Device::setConfiguration(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    const auto& wanted = descriptors().configuration;
    const bool known = setup.wValue == 0 || setup.wValue == wanted.bConfigurationValue;
    if (setup.recipient() != Recipient::Device || setup.isIn() || setup.wIndex != 0 || setup.wLength != 0 || !known)
        return transfer->complete(Status::Stall);
    takeBack(Status::Cancelled, [](const Transfer& pending) { return pending.request().endpoint != 0; });
    m_configuration = static_cast<std::uint8_t>(setup.wValue);
    m_alternates.clear();
    m_halted.clear();
    m_function.configurationSelected(m_configuration);
    if (m_configuration != 0)
        for (const Interface& interface : wanted.interfaces)
            m_function.alternateSelected(interface.bInterfaceNumber, 0);
    transfer->complete();
}

void Device::getInterface(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    const Interface* interface = findInterface(setup.wIndex);
    if (setup.recipient() != Recipient::Interface || !setup.isIn() || !interface)
        return transfer->complete(Status::Stall);
    transfer->completeIn(QByteArray(1, static_cast<char>(alternate(interface->bInterfaceNumber))));
}

void Device::setInterface(const TransferPointer& transfer)
{
    const SetupPacket& setup = transfer->request().setup;
    const Interface* interface = findInterface(setup.wIndex);
    if (setup.recipient() != Recipient::Interface || setup.isIn() || setup.wLength != 0 || !interface)
        return transfer->complete(Status::Stall);
    const auto& alternates = interface->alternates;
    const bool known = std::any_of(alternates.begin(), alternates.end(), [&](const AlternateSetting& alternate) {
        return alternate.bAlternateSetting == setup.wValue;
    });
    if (!known)
        return transfer->complete(Status::Stall);
    const std::uint8_t number = interface->bInterfaceNumber;
    takeBack(Status::Cancelled,
             [interface](const Transfer& pending) { return hasEndpoint(*interface, pending.endpointAddress()); });
    for (auto halted = m_halted.begin(); halted != m_halted.end();)
        halted = hasEndpoint(*interface, *halted) ? m_halted.erase(halted) : std::next(halted);
    m_alternates[number] = static_cast<std::uint8_t>(setup.wValue);
    m_function.alternateSelected(number, static_cast<std::uint8_t>(setup.wValue));
    transfer->complete();
}

} // namespace usb
