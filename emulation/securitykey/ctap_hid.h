// ctap_hid.h: CTAPHID (CTAP 2.1, section 11.2): messages over reports of 64 bytes, on channels that share one device.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <optional>

namespace ctap {

/// Of a clock that never goes back.
using Milliseconds = std::int64_t;

enum class HidCommand : std::uint8_t
{
    Ping = 0x01,
    Message = 0x03, ///< U2F
    Lock = 0x04,
    Init = 0x06,
    Wink = 0x08,
    Cbor = 0x10,
    Cancel = 0x11,
    KeepAlive = 0x3B,
    Error = 0x3F
};

enum class HidError : std::uint8_t
{
    InvalidCommand = 0x01,
    InvalidParameter = 0x02,
    InvalidLength = 0x03,
    InvalidSequence = 0x04,
    MessageTimeout = 0x05,
    ChannelBusy = 0x06,
    InvalidChannel = 0x0B
};

/// What a keep-alive says of the request under way.
enum class Activity : std::uint8_t
{
    Processing = 1,
    WaitsForUser = 2
};

/// Answers the requests; one at a time.
class RequestHandler
{
public:
    virtual ~RequestHandler() = default;

    /// `command` is Cbor or Message. CtapHid::answer() follows, during the call or later.
    virtual void request(HidCommand command, const QByteArray& message) = 0;

    /// The host gave the request up: it is answered at once.
    virtual void cancel() = 0;

    virtual Activity activity() const = 0;
};

/// Neither timer nor clock of its own: the owner hands in the time and calls advance() at deadline().
class CtapHid
{
public:
    static constexpr int kReportSize = 64;                ///< bytes, either way
    static constexpr int kLongestMessage = 7609;          ///< bytes: one initial report and 128 that follow it
    static constexpr Milliseconds kKeepAlive = 100;       ///< between two keep-alives
    static constexpr Milliseconds kMessageTimeout = 3000; ///< between two reports of one message

    /// `send` takes each report for the host, in order. Both outlive this object.
    using Send = std::function<void(const QByteArray& report)>;
    CtapHid(RequestHandler& handler, Send send);

    /// A report of the host; one that is not of kReportSize bytes is dropped.
    void takeReport(const QByteArray& report, Milliseconds now);

    /// Of the request under way; without one it is dropped. At most kLongestMessage bytes.
    void answer(const QByteArray& message);

    /// When advance() has something to do; nothing when it has not.
    std::optional<Milliseconds> deadline() const;
    void advance(Milliseconds now);

    /// As after power-on: no channel, no message. A request under way is cancelled.
    void reset();

private:
    /// A message that arrives, or one that is being answered.
    struct Transaction
    {
        std::uint32_t channel = 0;
        std::uint8_t command = 0;
        int length = 0; ///< bytes in all
        QByteArray message;
        std::uint8_t sequence = 0; ///< of the next report
        bool isComplete = false;
        Milliseconds deadline = 0; ///< of the next report, or of the next keep-alive
    };

    void takeInitial(std::uint32_t channel, const QByteArray& report, Milliseconds now);
    void takeContinuation(std::uint32_t channel, const QByteArray& report, Milliseconds now);
    void dispatch(Milliseconds now);
    void init(std::uint32_t channel, const QByteArray& nonce);
    void cancel(std::uint32_t channel);
    void lock(std::uint32_t channel, const QByteArray& seconds, Milliseconds now);
    void abort();
    bool isChannel(std::uint32_t channel) const;
    bool isBusyFor(std::uint32_t channel, Milliseconds now) const;
    void send(std::uint32_t channel, HidCommand command, const QByteArray& message);
    void fail(std::uint32_t channel, HidError error);

    RequestHandler& m_handler;
    Send m_send;
    std::uint32_t m_lastChannel = 0; ///< channels count from 1
    std::optional<Transaction> m_transaction;
    std::uint32_t m_lockedFor = 0; ///< 0: no channel
    Milliseconds m_lockEnd = 0;
};

} // namespace ctap
