// packet_view.h: a packet that is read where it lies.
#pragma once

#include "capture/channel/capture_types.h"

#include <string_view>

/// Refers to memory that the PacketReader which gave it keeps until its next read.
struct PacketView
{
    std::int64_t timestamp; ///< these as in UsbIPPacketInfo
    std::uint32_t deviceId;
    std::uint32_t sequenceNumber;
    std::uint32_t transferLength;
    bool isRequest;
    bool isUnlink;
    std::uint8_t endpoint;
    std::uint8_t direction;
    std::uint8_t command;
    std::uint8_t transferType;
    std::string_view protocolInfo; ///< UTF-8
    std::string_view parsedDetails;
    std::string_view data;
    std::string_view setupData;
    std::string_view usbipHeader;
    std::size_t number = 0; ///< in its store

    /// The packet with bytes of its own.
    UsbIPPacketInfo copy() const;
    /// The packet with bytes that refer to the store's: for as long as this view is valid.
    UsbIPPacketInfo borrow() const;
};
