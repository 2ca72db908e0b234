#include "emulation/securitykey/ctap_hid.h"

#include <QtEndian>

#include <utility>

namespace ctap {

namespace {

constexpr std::uint32_t kBroadcast = 0xFFFFFFFF;
constexpr std::uint8_t kInitialBit = 0x80; ///< of the fifth byte; without it that is a sequence number
constexpr int kInitialHeader = 7;
constexpr int kContinuationHeader = 5;
constexpr int kNonceSize = 8;
constexpr int kLongestLock = 10; // seconds

QByteArray padded(QByteArray report)
{
    return report.append(CtapHid::kReportSize - report.size(), '\0');
}

QByteArray header(std::uint32_t channel, std::uint8_t fifth)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(channel, bytes.data());
    return bytes + char(fifth);
}

QByteArray bigEndian16(int value)
{
    QByteArray bytes(2, '\0');
    qToBigEndian(std::uint16_t(value), bytes.data());
    return bytes;
}

} // namespace

CtapHid::CtapHid(RequestHandler& handler, Send send) : m_handler(handler), m_send(std::move(send))
{}

void CtapHid::takeReport(const QByteArray& report, Milliseconds now)
{
    if (report.size() != kReportSize)
        return;
    advance(now); // a message that is too late must not be continued
    const auto channel = qFromBigEndian<std::uint32_t>(report.constData());
    if (std::uint8_t(report[4]) & kInitialBit)
        takeInitial(channel, report, now);
    else
        takeContinuation(channel, report, now);
}

void CtapHid::takeInitial(std::uint32_t channel, const QByteArray& report, Milliseconds now)
{
    const auto command = HidCommand(std::uint8_t(report[4]) & ~kInitialBit);
    const int length = qFromBigEndian<std::uint16_t>(report.constData() + 5);
    const QByteArray first = report.mid(kInitialHeader, length);
    // These two may come while another request is under way.
    if (command == HidCommand::Init && (channel == kBroadcast || isChannel(channel)))
        return length == kNonceSize ? init(channel, first) : fail(channel, HidError::InvalidLength);
    if (!isChannel(channel))
        return fail(channel, HidError::InvalidChannel);
    if (command == HidCommand::Cancel)
        return cancel(channel);
    if (m_transaction && m_transaction->channel == channel && !m_transaction->isComplete) {
        m_transaction.reset();
        return fail(channel, HidError::InvalidSequence);
    }
    if (isBusyFor(channel, now))
        return fail(channel, HidError::ChannelBusy);
    if (length > kLongestMessage)
        return fail(channel, HidError::InvalidLength);
    m_transaction = Transaction{channel, std::uint8_t(command), length, first, 0, false, now + kMessageTimeout};
    if (first.size() == length)
        dispatch(now);
}

void CtapHid::takeContinuation(std::uint32_t channel, const QByteArray& report, Milliseconds now)
{
    if (!m_transaction || m_transaction->channel != channel || m_transaction->isComplete)
        return; // of a message that was given up
    if (std::uint8_t(report[4]) != m_transaction->sequence) {
        m_transaction.reset();
        return fail(channel, HidError::InvalidSequence);
    }
    ++m_transaction->sequence;
    m_transaction->deadline = now + kMessageTimeout;
    m_transaction->message += report.mid(kContinuationHeader, m_transaction->length - m_transaction->message.size());
    if (m_transaction->message.size() == m_transaction->length)
        dispatch(now);
}

void CtapHid::dispatch(Milliseconds now)
{
    m_transaction->isComplete = true;
    m_transaction->deadline = now + kKeepAlive;
    const std::uint32_t channel = m_transaction->channel;
    const auto command = HidCommand(m_transaction->command);
    const QByteArray message = m_transaction->message;
    switch (command) {
    case HidCommand::Cbor:
    case HidCommand::Message:
        if (!message.isEmpty())
            return m_handler.request(command, message);
        m_transaction.reset();
        return fail(channel, HidError::InvalidLength);
    case HidCommand::Ping:
    case HidCommand::Wink: // nothing here can blink
        m_transaction.reset();
        return send(channel, command, command == HidCommand::Ping ? message : QByteArray());
    case HidCommand::Lock:
        m_transaction.reset();
        return lock(channel, message, now);
    default:
        m_transaction.reset();
        return fail(channel, HidError::InvalidCommand);
    }
}

void CtapHid::init(std::uint32_t channel, const QByteArray& nonce)
{
    constexpr char kProtocol = 2;
    constexpr char kCapabilities = 0x01 | 0x04; // WINK, CBOR; U2F is not denied
    std::uint32_t given = channel;
    if (channel == kBroadcast)
        given = m_lastChannel = m_lastChannel + 1 < kBroadcast ? m_lastChannel + 1 : 1;
    else if (m_transaction && m_transaction->channel == channel)
        abort();
    QByteArray answer(4, '\0');
    qToBigEndian(given, answer.data());
    send(channel, HidCommand::Init, nonce + answer + kProtocol + QByteArray("\x01\x00\x00", 3) + kCapabilities);
}

void CtapHid::cancel(std::uint32_t channel)
{
    if (m_transaction && m_transaction->channel == channel && m_transaction->isComplete)
        m_handler.cancel();
}

void CtapHid::lock(std::uint32_t channel, const QByteArray& seconds, Milliseconds now)
{
    if (seconds.size() != 1)
        return fail(channel, HidError::InvalidLength);
    const int duration = std::uint8_t(seconds[0]);
    if (duration > kLongestLock)
        return fail(channel, HidError::InvalidParameter);
    m_lockedFor = duration == 0 ? 0 : channel;
    m_lockEnd = now + duration * 1000;
    send(channel, HidCommand::Lock, {});
}

void CtapHid::abort()
{
    const bool isUnderWay = m_transaction && m_transaction->isComplete;
    m_transaction.reset(); // first: nobody waits for the answer
    if (isUnderWay)
        m_handler.cancel();
}

void CtapHid::answer(const QByteArray& message)
{
    if (!m_transaction || !m_transaction->isComplete)
        return;
    const Transaction answered = *std::exchange(m_transaction, std::nullopt);
    send(answered.channel, HidCommand(answered.command), message);
}

std::optional<Milliseconds> CtapHid::deadline() const
{
    return m_transaction ? std::optional(m_transaction->deadline) : std::nullopt;
}

void CtapHid::advance(Milliseconds now)
{
    if (!m_transaction || now < m_transaction->deadline)
        return;
    if (!m_transaction->isComplete) {
        const std::uint32_t channel = m_transaction->channel;
        m_transaction.reset();
        return fail(channel, HidError::MessageTimeout);
    }
    m_transaction->deadline = now + kKeepAlive;
    send(m_transaction->channel, HidCommand::KeepAlive, QByteArray(1, char(m_handler.activity())));
}

void CtapHid::reset()
{
    abort();
    m_lastChannel = 0;
    m_lockedFor = 0;
}

bool CtapHid::isChannel(std::uint32_t channel) const
{
    return channel != 0 && channel <= m_lastChannel;
}

bool CtapHid::isBusyFor(std::uint32_t channel, Milliseconds now) const
{
    return m_transaction || (m_lockedFor != 0 && m_lockedFor != channel && now < m_lockEnd);
}

void CtapHid::send(std::uint32_t channel, HidCommand command, const QByteArray& message)
{
    constexpr int kInitialRoom = kReportSize - kInitialHeader;
    constexpr int kContinuationRoom = kReportSize - kContinuationHeader;
    m_send(padded(header(channel, std::uint8_t(command) | kInitialBit) + bigEndian16(message.size()) +
                  message.left(kInitialRoom)));
    std::uint8_t sequence = 0;
    for (int at = kInitialRoom; at < message.size(); at += kContinuationRoom)
        m_send(padded(header(channel, sequence++) + message.mid(at, kContinuationRoom)));
}

void CtapHid::fail(std::uint32_t channel, HidError error)
{
    send(channel, HidCommand::Error, QByteArray(1, char(error)));
}

} // namespace ctap
