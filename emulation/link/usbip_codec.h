// usbip_codec.h: USB/IP messages to bytes and back. All words are big-endian. Knows nothing of sockets.
#pragma once

#include "emulation/link/usbip_messages.h"

#include <functional>
#include <optional>

namespace usbip {

/// The header of a message; what follows it is its data and then the table of its isochronous packets.
Header headerOf(const Submit& message);
Header headerOf(const Unlink& message);
Header headerOf(const SubmitReply& message);
Header headerOf(const UnlinkReply& message);

QByteArray packetTable(const std::vector<IsochronousPacket>& packets);

/// A message of which the header is known; `bodySize` bytes follow.
struct Parsed
{
    Message message;
    std::uint32_t dataSize = 0;
    std::uint32_t packetCount = 0;

    std::size_t bodySize() const { return dataSize + std::size_t(16) * packetCount; }
};

/// What the host asked for in the submission that a reply answers: only it says what follows the reply.
struct Asked
{
    bool in = false;
    std::uint32_t length = 0;
    std::uint32_t packets = 0;
};
using AskedLookup = std::function<std::optional<Asked>(std::uint32_t sequence)>;

/// Nothing, and `fault` says why, for a header that no host sends or that asks for too much.
std::optional<Parsed> parseRequest(const char* header, QString& fault);
/// The same for what a device sends.
std::optional<Parsed> parseReply(const char* header, const AskedLookup& asked, QString& fault);

/// Puts the body into the message. `body` has parsed.bodySize() bytes.
Message finishMessage(Parsed parsed, QByteArray body);

// Before a device is imported: one request and its answer on a connection.

constexpr std::uint16_t kVersion = 0x0111;

enum class Operation : std::uint16_t
{
    ImportRequest = 0x8003,
    ImportReply = 0x0003,
    ListRequest = 0x8005,
    ListReply = 0x0005,
};

enum class OperationStatus : std::uint32_t
{
    Ok = 0,
    Failed = 1,
    Busy = 2,
    NoDevice = 4,
};

struct OperationHeader
{
    std::uint16_t version = kVersion;
    Operation operation = Operation::ListRequest;
    OperationStatus status = OperationStatus::Ok;
};

constexpr int kOperationSize = 8; // bytes
constexpr int kBusIdSize = 32;    // with its zeros
constexpr int kSummarySize = 312; // without interfaces
constexpr std::uint32_t kMostDevices = 1024;

QByteArray operationBytes(Operation operation, OperationStatus status = OperationStatus::Ok);
QByteArray listRequest();
QByteArray listReply(const std::vector<DeviceSummary>& devices);
QByteArray importRequest(const QString& busId);
QByteArray importReply(const DeviceSummary& device);

/// From kOperationSize bytes.
OperationHeader parseOperation(const char* bytes);
/// From kBusIdSize bytes: up to the first zero.
QString parseBusId(const char* bytes);
/// From kSummarySize bytes.
DeviceSummary parseSummary(const char* bytes);

/// The devices of a list reply behind its operation header. Nothing while bytes are missing; an empty list with a
/// `fault` when there are more devices than any machine has.
std::optional<std::vector<DeviceSummary>> parseList(const QByteArray& bytes, QString& fault);

} // namespace usbip
