// packet_parser.h: reads the binary payloads of the capture channel.
#pragma once

#include "capture/channel/capture_types.h"

#include <QJsonObject>

#include <optional>

/// Bytes of a packet payload before its variable parts.
inline constexpr int kPacketFixedSize = 40;

/// Makes `packet` the captured packet, without its one-line decoding; false when the payload is shorter than the fixed
/// part. Header copy, data and setup bytes follow each other; one that does not fit is left out without moving the read
/// position, so that a truncated message stays usable. All integers are little-endian. The packet's bytes refer to the
/// payload's and are valid as long as those are; one object for many packets saves their allocations.
bool parseCapturedPacket(const QByteArray& payload, UsbIPPacketInfo& packet);

/// The payload that parseCapturedPacket() takes for this packet; parts are cut to the 65535 bytes that it can count.
QByteArray capturedPacketPayload(const UsbIPPacketInfo& packet);

/// Four little-endian uint32; bytes beyond them are ignored. Nothing when there are fewer than 16.
std::optional<CaptureStats> parseCaptureStats(const QByteArray& payload);

/// A missing counter, or one that is no integer, is 0.
CaptureStats captureStatsFromJson(const QJsonObject& object);
