#include "emulation/hid/hid_function.h"

#include <bit>

namespace hid {

namespace {

constexpr std::uint8_t kHidClass = 3;
constexpr std::uint8_t kBootSubClass = 1;
constexpr std::uint8_t kInEndpoint = 0x81;
constexpr std::uint8_t kOutEndpoint = 0x02;
constexpr InputPipe::Milliseconds kIdleUnit{4};

constexpr std::uint8_t kHidDescriptor = 0x21;
constexpr std::uint8_t kReportDescriptor = 0x22;
constexpr std::uint16_t kHidVersion = 0x0111;

// Requests (HID 1.11, 7.2), and of the standard ones the one that asks for descriptors of the class.
enum Request : std::uint8_t
{
    GetReport = 0x01,
    GetIdle = 0x02,
    GetProtocol = 0x03,
    GetDescriptor = 0x06,
    SetReport = 0x09,
    SetIdle = 0x0A,
    SetProtocol = 0x0B
};

enum ReportType : std::uint8_t
{
    InputReport = 1,
    OutputReport = 2
};

std::uint8_t highByte(std::uint16_t word)
{
    return std::uint8_t(word >> 8);
}

std::uint8_t lowByte(std::uint16_t word)
{
    return std::uint8_t(word);
}

/// At full speed frames of 1 ms; at SuperSpeed the exponent of microframes, of which eight are 1 ms.
std::uint8_t intervalCode(InputPipe::Milliseconds interval, usb::Speed speed)
{
    constexpr int kMillisecondExponent = 4;
    return std::uint8_t(speed == usb::Speed::Super ? kMillisecondExponent + std::countr_zero(unsigned(interval.count()))
                                                   : interval.count());
}

usb::Endpoint interruptEndpoint(std::uint8_t address, int bytes, InputPipe::Milliseconds interval, usb::Speed speed)
{
    usb::Endpoint endpoint;
    endpoint.bEndpointAddress = address;
    endpoint.type = usb::TransferType::Interrupt;
    endpoint.maxPacketSize = std::uint16_t(bytes);
    endpoint.bInterval = intervalCode(interval, speed);
    if (speed == usb::Speed::Super)
        endpoint.companion = usb::EndpointCompanion{0, 0, std::uint16_t(bytes)};
    return endpoint;
}

ReportSizes checkedSizes(const QByteArray& reportDescriptor)
{
    const auto sizes = reportSizes(reportDescriptor);
    Q_ASSERT(sizes);
    return sizes.value();
}

} // namespace

HidFunction::HidFunction(usb::DeviceDescriptors identity, Kind kind)
    : m_kind(std::move(kind))
    , m_sizes(checkedSizes(m_kind.reportDescriptor))
    , m_descriptors(std::move(identity))
    , m_input(m_kind.interval)
{
    constexpr std::uint16_t kUsb3 = 0x0300;
    const usb::Speed speed = m_descriptors.bcdUSB >= kUsb3 ? usb::Speed::Super : usb::Speed::Full;
    usb::AlternateSetting setting;
    setting.bInterfaceClass = kHidClass;
    setting.bInterfaceSubClass = m_kind.boot ? kBootSubClass : 0;
    setting.bInterfaceProtocol = m_kind.boot ? std::uint8_t(*m_kind.boot) : 0;
    setting.classDescriptors = {classDescriptor()};
    setting.endpoints.push_back(interruptEndpoint(kInEndpoint, m_sizes.input, m_kind.interval, speed));
    if (m_sizes.output > 0)
        setting.endpoints.push_back(interruptEndpoint(kOutEndpoint, m_sizes.output, m_kind.interval, speed));
    m_descriptors.speed = speed;
    m_descriptors.configuration = {};
    m_descriptors.configuration.interfaces = {{0, {setting}}};
    restart(false);
}

QByteArray HidFunction::classDescriptor() const
{
    return usb::DescriptorWriter(kHidDescriptor)
        .u16(kHidVersion)
        .u8(0) // no country's layout
        .u8(1) // descriptors that follow
        .u8(kReportDescriptor)
        .u16(std::uint32_t(m_kind.reportDescriptor.size()))
        .take();
}

void HidFunction::configurationSelected(std::uint8_t value)
{
    restart(value != 0);
    forgetState();
}

void HidFunction::restart(bool configured)
{
    m_configured = configured;
    m_bootProtocol = false;
    m_input.restart(QByteArray(m_sizes.input, '\0'));
    m_input.setLongest(0);
    m_input.setIdle(m_kind.idle);
}

void HidFunction::controlRequest(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    if (setup.recipient() != usb::Recipient::Interface || setup.wIndex != 0)
        return transfer->complete(usb::Status::Stall);
    if (setup.type() == usb::RequestType::Standard && setup.isIn() && setup.bRequest == GetDescriptor)
        return getDescriptor(transfer);
    if (setup.type() != usb::RequestType::Class)
        return transfer->complete(usb::Status::Stall);
    switch (setup.bRequest | (setup.isIn() ? 0x100 : 0)) {
    case 0x100 | GetReport:
        return getReport(transfer);
    case 0x100 | GetIdle:
        return transfer->completeIn(QByteArray(1, char(m_input.idle() / kIdleUnit)));
    case 0x100 | GetProtocol:
        if (!m_kind.boot)
            return transfer->complete(usb::Status::Stall);
        return transfer->completeIn(QByteArray(1, m_bootProtocol ? '\0' : '\1'));
    case SetReport:
        return setReport(transfer);
    case SetIdle:
        return setIdle(transfer);
    case SetProtocol:
        return setProtocol(transfer);
    default:
        return transfer->complete(usb::Status::Stall);
    }
}

void HidFunction::getDescriptor(const usb::TransferPointer& transfer) const
{
    const std::uint16_t value = transfer->request().setup.wValue;
    if (value == kReportDescriptor << 8)
        transfer->completeIn(m_kind.reportDescriptor);
    else if (value == kHidDescriptor << 8)
        transfer->completeIn(classDescriptor());
    else
        transfer->complete(usb::Status::Stall);
}

void HidFunction::getReport(const usb::TransferPointer& transfer) const
{
    const std::uint16_t value = transfer->request().setup.wValue;
    if (value == InputReport << 8)
        transfer->completeIn(m_bootProtocol ? m_input.state().left(m_kind.bootReportSize) : m_input.state());
    else if (value == OutputReport << 8 && m_sizes.output > 0)
        transfer->completeIn(outputState());
    else
        transfer->complete(usb::Status::Stall);
}

void HidFunction::setReport(const usb::TransferPointer& transfer)
{
    const usb::Transfer::Request& request = transfer->request();
    if (request.setup.wValue != OutputReport << 8 || m_sizes.output == 0 || request.data.size() != m_sizes.output)
        return transfer->complete(usb::Status::Stall);
    takeOutput(request.data);
    transfer->complete();
}

void HidFunction::setIdle(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    if (lowByte(setup.wValue) != 0)
        return transfer->complete(usb::Status::Stall);
    transfer->complete();
    m_input.setIdle(highByte(setup.wValue) * kIdleUnit);
}

void HidFunction::setProtocol(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    if (!m_kind.boot || setup.wValue > 1)
        return transfer->complete(usb::Status::Stall);
    m_bootProtocol = setup.wValue == 0;
    m_input.setLongest(m_bootProtocol ? m_kind.bootReportSize : 0);
    transfer->complete();
}

void HidFunction::submit(const usb::TransferPointer& transfer)
{
    if (transfer->request().in)
        return m_input.submit(transfer);
    if (transfer->request().data.size() != m_sizes.output)
        return transfer->complete(usb::Status::Stall);
    takeOutput(transfer->request().data);
    transfer->complete();
}

void HidFunction::cancelled(const usb::Transfer& transfer)
{
    m_input.cancelled(transfer);
}

QString HidFunction::refusal(int reports) const
{
    if (!m_configured)
        return QStringLiteral("No host uses the device yet.");
    if (reports > m_input.room())
        return QStringLiteral("The host has not fetched %1 earlier reports; %2 more do not fit.")
            .arg(m_input.waiting())
            .arg(reports);
    return {};
}

QString HidFunction::pipeStatus() const
{
    return QStringLiteral("%1 reports wait, %2 protocol, idle %3 ms, %4")
        .arg(m_input.waiting())
        .arg(m_bootProtocol ? QStringLiteral("boot") : QStringLiteral("report"))
        .arg(m_input.idle().count())
        .arg(m_configured ? QStringLiteral("in use by a host") : QStringLiteral("not in use"));
}

} // namespace hid
