#include "emulation/securitykey/authenticator.h"

#include "emulation/securitykey/cbor.h"
#include "emulation/securitykey/ctap_hid.h"
#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/log.h"
#include "emulation/securitykey/questions.h"

#include <QCborArray>

#include <utility>

namespace ctap {

namespace {

enum Command : int
{
    MakeCredentialCommand = 0x01,
    GetAssertionCommand = 0x02,
    GetInfoCommand = 0x04,
    ClientPinCommand = 0x06,
    ResetCommand = 0x07,
    GetNextAssertionCommand = 0x08,
    CredentialManagementCommand = 0x0A,
    SelectionCommand = 0x0B,
    ManagementPreviewCommand = 0x41 ///< what credential management was before CTAP 2.1; hosts still send it
};

bool hasParameters(int command)
{
    return command == MakeCredentialCommand || command == GetAssertionCommand || command == ClientPinCommand ||
           command == CredentialManagementCommand;
}

QCborMap algorithmEntry(Algorithm algorithm)
{
    return {{QStringLiteral("alg"), int(algorithm)}, {QStringLiteral("type"), QStringLiteral("public-key")}};
}

} // namespace

Authenticator::Authenticator(const KeyStore& store, ClientPin& pin, UserPresence& presence,
                             const Attestation& attestation, ClientPin::Clock now)
    : m_parts{store, pin, presence, attestation}
    , m_now(std::move(now))
    , m_makeCredential(m_parts)
    , m_getAssertion(m_parts)
    , m_management(m_parts)
{}

void Authenticator::execute(const QByteArray& message, Answered answered)
{
    m_answered = std::move(answered);
    int command = message.isEmpty() ? -1 : std::uint8_t(message[0]);
    if (command == ManagementPreviewCommand)
        command = CredentialManagementCommand;
    const QByteArray parameters = message.mid(1);
    if (parameters.isEmpty())
        return hasParameters(command) ? finish(Status::MissingParameter) : run(command, {});
    const auto value = decodeCbor(parameters);
    if (!value)
        return finish(Status::InvalidCbor);
    if (!value->isMap())
        return finish(Status::UnexpectedType);
    run(command, value->toMap());
}

void Authenticator::run(int command, const QCborMap& parameters)
{
    const auto replied = [this](const Reply& reply) { finish(reply); };
    const Milliseconds now = m_now();
    if (command != GetNextAssertionCommand)
        m_getAssertion.forget();
    if (command != CredentialManagementCommand)
        m_management.forget();
    switch (command) {
    case MakeCredentialCommand:
        return m_makeCredential.execute(parameters, replied);
    case GetAssertionCommand:
        return m_getAssertion.execute(parameters, replied);
    case GetNextAssertionCommand:
        return finish(m_getAssertion.next(now));
    case GetInfoCommand:
        return finish(info());
    case ClientPinCommand:
        return finish(m_parts.pin.execute(parameters));
    case CredentialManagementCommand:
        return finish(m_parts.pin.isSupported() ? m_management.execute(parameters) : Status::InvalidCommand);
    case ResetCommand:
        return reset();
    case SelectionCommand:
        return select();
    default:
        finish(Status::InvalidCommand);
    }
}

void Authenticator::finish(const Reply& reply)
{
    m_getAssertion.setTime(m_now());
    const Answered answered = std::exchange(m_answered, nullptr);
    if (!answered)
        return;
    QByteArray answer(1, char(reply.status));
    if (reply.status == Status::Ok && !reply.body.isEmpty())
        answer += encodeCbor(reply.body).value_or(QByteArray());
    answered(answer.size() <= CtapHid::kLongestMessage ? answer : QByteArray(1, char(Status::Other)));
}

void Authenticator::cancel()
{
    if (!m_answered)
        return;
    m_parts.presence.withdraw();
    finish(Status::KeepAliveCancel);
}

void Authenticator::restart()
{
    cancel();
    m_parts.pin.restart();
    m_getAssertion.forget();
    m_management.forget();
}

Reply Authenticator::info() const
{
    constexpr int kMostInList = 100;         // credential descriptors
    constexpr int kLongestCredentialId = 64; // bytes that are promised; the files may hold longer ones
    constexpr int kShortestPin = 4;
    constexpr int kFirmware = 1;
    QCborArray versions{QStringLiteral("U2F_V2"), QStringLiteral("FIDO_2_0")};
    QCborMap options{{QStringLiteral("rk"), true},
                     {QStringLiteral("up"), true},
                     {QStringLiteral("plat"), false},
                     {QStringLiteral("makeCredUvNotRqd"), true}};
    if (m_parts.pin.isSupported()) {
        versions.append(QStringLiteral("FIDO_2_1"));
        options.insert(QStringLiteral("credMgmt"), true);
        options.insert(QStringLiteral("clientPin"), m_parts.pin.isSet());
        options.insert(QStringLiteral("pinUvAuthToken"), true);
    }
    QCborMap members{
        {0x01, versions},
        {0x02, QCborArray{QStringLiteral("credProtect"), QStringLiteral("hmac-secret")}},
        {0x03, aaguid()},
        {0x04, options},
        {0x05, CtapHid::kLongestMessage},
        {0x06, QCborArray{2, 1}},
        {0x07, kMostInList},
        {0x08, kLongestCredentialId},
        {0x09, QCborArray{QStringLiteral("usb")}},
        {0x0A, QCborArray{algorithmEntry(Algorithm::Es256), algorithmEntry(Algorithm::EdDsa)}},
        {0x0D, kShortestPin},
        {0x0E, kFirmware},
    };
    if (!m_parts.pin.isSupported())
        members.remove(0x0D);
    return members;
}

void Authenticator::reset()
{
    m_parts.presence.ask(QStringLiteral("reset"), plainQuestion(m_parts.store, QStringLiteral("reset")),
                         [this](const UserAnswer& answer) {
                             if (answer.verdict != Verdict::Confirmed)
                                 return finish(statusOf(answer.verdict));
                             const bool done = m_parts.store.reset();
                             m_parts.pin.restart();
                             qCInfo(securityKeyLog) << "Key reset by the host";
                             finish(done ? Status::Ok : Status::Other);
                         });
}

void Authenticator::select()
{
    m_parts.presence.ask(QStringLiteral("selection"), plainQuestion(m_parts.store, QStringLiteral("selection")),
                         [this](const UserAnswer& answer) { finish(statusOf(answer.verdict)); });
}

} // namespace ctap
