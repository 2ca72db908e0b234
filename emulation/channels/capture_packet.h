// capture_packet.h: one message of the link as the capture channel carries it.
#pragma once

#include "emulation/link/traffic_tap.h"

/// The whole frame. Of the data at most 65,535 bytes are carried; the transfer's length is told as it was.
QByteArray packetFrame(const TappedMessage& message, std::int64_t timestamp);
