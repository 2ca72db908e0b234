#include "emulation/securitykey/security_key_function.h"

#include "emulation/securitykey/attestation.h"

#include <utility>

namespace ctap {

namespace {

constexpr hid::InputPipe::Milliseconds kInterval{1};

QByteArray reportDescriptor()
{
    constexpr std::uint16_t kCtapHidUsage = 0x01;
    constexpr std::uint16_t kDataIn = 0x20;
    constexpr std::uint16_t kDataOut = 0x21;
    return hid::ReportDescriptorWriter()
        .usagePage(hid::UsagePage::Fido)
        .usage(kCtapHidUsage)
        .begin(hid::Collection::Application)
        .usage(kDataIn)
        .logicalRange(0, 255)
        .fields(CtapHid::kReportSize, 8)
        .input(hid::Variable)
        .usage(kDataOut)
        .output(hid::Variable)
        .end()
        .bytes();
}

usb::DeviceDescriptors withSerial(usb::DeviceDescriptors identity, const QString& serial)
{
    identity.serialNumber = serial;
    return identity;
}

bool isKeepAlive(const QByteArray& report)
{
    constexpr int kCommand = 4; // where it stands
    return std::uint8_t(report[kCommand]) == (0x80 | std::uint8_t(HidCommand::KeepAlive));
}

} // namespace

Outcome<std::unique_ptr<DeviceFunction>> SecurityKeyFunction::make(usb::DeviceDescriptors identity,
                                                                   const DeviceContext& context)
{
    std::unique_ptr<SecurityKeyFunction> function(new SecurityKeyFunction(std::move(identity), context));
    const QString fault = function->start();
    if (!fault.isEmpty())
        return Fault{fault};
    return std::unique_ptr<DeviceFunction>(std::move(function));
}

SecurityKeyFunction::SecurityKeyFunction(usb::DeviceDescriptors identity, const DeviceContext& context)
    : HidFunction(withSerial(std::move(identity), KeyStore(context.device.parameters, context.folder).serialNumber()),
                  {{}, 0, hid::InputPipe::Milliseconds::zero(), reportDescriptor(), kInterval})
    , m_store(context.device.parameters, context.folder)
    , m_channel(context.processId)
    , m_desk(m_channel)
    , m_requests(m_store, m_channel, context.processId)
{}

QString SecurityKeyFunction::start()
{
    if (const QString fault = m_store.prepare(); !fault.isEmpty())
        return fault;
    auto attestation = makeAttestation(m_store.authority());
    if (!attestation)
        return QStringLiteral("The attestation certificate of \"%1\" cannot be made.").arg(m_store.serialNumber());
    m_key = std::make_unique<SecurityKey>(m_store, m_desk, std::move(*attestation),
                                          [this](const QByteArray& report) { send(report); });
    for (const QString& fault : {m_channel.listen(), m_requests.listen()}) {
        if (!fault.isEmpty())
            return fault;
    }
    return {};
}

void SecurityKeyFunction::controlRequest(const usb::TransferPointer& transfer)
{
    HidFunction::controlRequest(transfer);
    input().setIdle(hid::InputPipe::Milliseconds::zero()); // reports are parts of messages: none is sent twice
}

void SecurityKeyFunction::forgetState()
{
    m_key->restart();
    m_desk.forgetChoices(); // a key that is plugged in anew asks anew
}

void SecurityKeyFunction::takeOutput(const QByteArray& report)
{
    m_key->takeReport(report);
}

void SecurityKeyFunction::send(const QByteArray& report)
{
    // A keep-alive that is fetched late says nothing, and a host that fetches nothing gets no more.
    const bool isOfUse = !isKeepAlive(report) || input().waiting() == 0;
    if (isOfUse && input().room() > 0)
        input().append(report, report);
}

QString SecurityKeyFunction::run(const QString& command)
{
    if (command == QLatin1String("approve next") || command == QLatin1String("deny next")) {
        m_desk.answerNext(command.startsWith(QLatin1Char('a')) ? Verdict::Confirmed : Verdict::Denied);
        return commandDone(command);
    }
    if (command == QLatin1String("approve all") || command == QLatin1String("ask again")) {
        const bool asks = command.startsWith(QLatin1String("ask"));
        m_desk.approveAll(!asks);
        if (asks)
            m_desk.forgetChoices();
        return commandDone(command);
    }
    return commandFailed(
        QStringLiteral("a security key knows \"approve next\", \"deny next\", \"approve all\" and \"ask again\""));
}

QString SecurityKeyFunction::status() const
{
    QStringList parts{QStringLiteral("%1 credentials").arg(m_store.credentials().size())};
    if (!m_desk.status().isEmpty())
        parts << m_desk.status();
    return parts.join(QStringLiteral(", "));
}

} // namespace ctap
