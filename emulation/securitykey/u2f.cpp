#include "emulation/securitykey/u2f.h"

#include "emulation/securitykey/key_pair.h"
#include "emulation/securitykey/make_credential.h"
#include "emulation/securitykey/questions.h"

#include <QtEndian>

#include <algorithm>
#include <utility>

namespace ctap {

namespace {

constexpr int kHashSize = 32; // bytes, of a challenge and of an application

// Status words.
constexpr std::uint16_t kOk = 0x9000;
constexpr std::uint16_t kWrongLength = 0x6700;
constexpr std::uint16_t kUserNotPresent = 0x6985;
constexpr std::uint16_t kWrongData = 0x6A80;
constexpr std::uint16_t kUnknownInstruction = 0x6D00;
constexpr std::uint16_t kUnknownClass = 0x6E00;
constexpr std::uint16_t kFailed = 0x6F00;

QByteArray response(std::uint16_t status, const QByteArray& data = {})
{
    QByteArray word(2, '\0');
    qToBigEndian(status, word.data());
    return data + word;
}

/// The data of an APDU with a short or an extended length; nothing when the lengths do not agree.
std::optional<QByteArray> dataOf(const QByteArray& apdu)
{
    constexpr int kHeader = 4;
    const QByteArray body = apdu.mid(kHeader);
    const bool isExtended = body.size() >= 3 && body[0] == '\0';
    const int lengthSize = isExtended ? 3 : 1;
    const int expectedSize = isExtended ? 2 : 1; // bytes of the length that the host expects, at the end
    if (body.size() <= lengthSize)
        return QByteArray(); // no data; what there is says how much is expected
    const int length = isExtended ? qFromBigEndian<std::uint16_t>(body.constData() + 1) : std::uint8_t(body[0]);
    const int rest = body.size() - lengthSize - length;
    return rest == 0 || rest == expectedSize ? std::optional(body.mid(lengthSize, length)) : std::nullopt;
}

} // namespace

struct U2f::Command
{
    std::uint8_t instruction = 0;
    std::uint8_t parameter = 0; ///< P1
    QByteArray data;

    QByteArray challenge() const { return data.left(kHashSize); }
    QByteArray application() const { return data.mid(kHashSize, kHashSize); }
    /// Of authentication: behind the byte that tells its length.
    QByteArray keyHandle() const { return data.mid(2 * kHashSize + 1); }
    QByteArray bytes() const { return char(instruction) + data; }
};

U2f::U2f(const Parts& parts, ClientPin::Clock now) : m_parts(parts), m_now(std::move(now))
{}

QByteArray U2f::execute(const QByteArray& message)
{
    constexpr int kHeader = 4;
    const auto data = dataOf(message);
    if (message.size() < kHeader || !data)
        return response(kWrongLength);
    if (message[0] != '\0')
        return response(kUnknownClass);
    const Command command{std::uint8_t(message[1]), std::uint8_t(message[2]), *data};
    switch (command.instruction) {
    case 0x01:
        return registerCredential(command);
    case 0x02:
        return authenticate(command);
    case 0x03:
        return data->isEmpty() ? response(kOk, QByteArrayLiteral("U2F_V2")) : response(kWrongLength);
    default:
        return response(kUnknownInstruction);
    }
}

void U2f::forget()
{
    if (m_asked && !m_asked->verdict)
        m_parts.presence.withdraw();
    m_asked.reset();
}

bool U2f::isConfirmed(const Command& command, const QString& operation, const QJsonObject& question)
{
    constexpr Milliseconds kForgotten = 10 * 1000; // since the host asked last
    const Milliseconds now = m_now();
    if (m_asked && m_asked->command == command.bytes() && now - m_asked->lastSeen < kForgotten) {
        m_asked->lastSeen = now;
        return m_asked->verdict == Verdict::Confirmed;
    }
    forget();
    m_asked = Asked{command.bytes(), {}, {}, now};
    m_parts.presence.ask(operation, question, [this](const UserAnswer& answer) {
        m_asked->verdict = answer.verdict;
        m_asked->description = answer.result.value(QLatin1String("description")).toString();
    });
    return m_asked->verdict == Verdict::Confirmed;
}

QByteArray U2f::registerCredential(const Command& command)
{
    if (command.data.size() != 2 * kHashSize)
        return response(kWrongLength);
    MakeCredentialRequest request;
    Credential& credential = request.wanted;
    credential.rpIdHash = command.application();
    credential.rpId = QString::fromLatin1(credential.rpIdHash.toHex()); // all that a U2F host says
    credential.rpName = QStringLiteral("U2F");
    credential.userId = QByteArray(1, '\0');
    credential.userName = QStringLiteral("U2F");
    credential.algorithm = int(Algorithm::Es256);
    if (!isConfirmed(command, QStringLiteral("make_credential"), makeCredentialQuestion(m_parts.store, request, false)))
        return response(kUserNotPresent);
    const QString description = std::exchange(m_asked, std::nullopt)->description;
    const openssl::Key key = addCredential(m_parts.store, credential, description);
    if (!key)
        return response(kFailed);
    const QByteArray point = uncompressedPoint(key);
    const QByteArray handle = char(credential.id.size()) + credential.id;
    const QByteArray signature =
        sign(m_parts.attestation.key, '\0' + command.application() + command.challenge() + credential.id + point);
    return response(kOk, '\x05' + point + handle + m_parts.attestation.certificate + signature);
}

QByteArray U2f::authenticate(const Command& command)
{
    constexpr std::uint8_t kCheckOnly = 0x07;
    constexpr std::uint8_t kWithUser = 0x03;
    constexpr std::uint8_t kWithoutUser = 0x08;
    constexpr int kHandleLength = 2 * kHashSize; // where it stands
    if (command.data.size() <= kHandleLength || command.keyHandle().size() != std::uint8_t(command.data[kHandleLength]))
        return response(kWrongLength);
    const std::vector<Credential> credentials = m_parts.store.credentials();
    const auto found = std::find_if(credentials.begin(), credentials.end(), [&command](const Credential& credential) {
        return credential.id == command.keyHandle() && credential.rpIdHash == command.application() &&
               credential.protection != Protection::Required;
    });
    const openssl::Key key = found == credentials.end() ? nullptr : m_parts.store.privateKey(*found);
    if (algorithmOf(key) != Algorithm::Es256)
        return response(kWrongData);
    if (command.parameter == kCheckOnly)
        return response(kUserNotPresent); // which means: the handle is this key's
    if (command.parameter != kWithUser && command.parameter != kWithoutUser)
        return response(kWrongData);
    const bool withUser = command.parameter == kWithUser;
    if (withUser && !isConfirmed(command, QStringLiteral("get_assertion"),
                                 getAssertionQuestion(m_parts.store, {*found}, false, false)))
        return response(kUserNotPresent);
    m_asked.reset();
    const auto count = m_parts.store.countSignature(found->id);
    if (!count)
        return response(kFailed);
    QByteArray answer(5, '\0');
    answer[0] = withUser ? kUserPresent : 0;
    qToBigEndian(*count, answer.data() + 1);
    return response(kOk, answer + sign(key, command.application() + answer + command.challenge()));
}

} // namespace ctap
