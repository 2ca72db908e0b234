// capture_types.h: what one captured packet and the capture counters are.
#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

#include <cstdint>

/// Transfer types as the capture channel numbers them; any other number is an unknown type.
enum TransferType : std::uint8_t
{
    ControlTransfer = 0,
    IsochronousTransfer = 1,
    BulkTransfer = 2,
    InterruptTransfer = 3
};

/// One packet of a device's USB/IP traffic. Byte arrays are implicitly shared, so a copy costs five reference counts.
struct UsbIPPacketInfo
{
    std::int64_t timestamp = 0; ///< milliseconds since the Unix epoch
    std::uint32_t deviceId = 0;
    std::uint32_t sequenceNumber = 0;
    bool isRequest = false; ///< true from host to device, false for the reply
    bool isUnlink = false;
    std::uint8_t endpoint = 0;
    std::uint8_t direction = 0; ///< 0 is OUT, all else IN
    std::uint8_t command = 0;
    std::uint32_t transferLength = 0; ///< bytes, the buffer of the whole transfer
    std::uint8_t transferType = 0;    ///< a TransferType, or an unknown number
    QString protocolInfo;             ///< free summary; empty unless a producer other than the client sets it
    QString parsedDetails;            ///< one-line decoding; empty for all but control transfers
    QByteArray data;                  ///< may hold less than transferLength says
    QByteArray setupData;             ///< 8 bytes for control transfers, else empty
    QByteArray usbipHeader;           ///< as the device process saw it; words are little-endian in this channel
};

/// Counters of a device process since its capture was last cleared.
struct CaptureStats
{
    std::uint32_t total_packets = 0;
    std::uint32_t request_packets = 0;
    std::uint32_t reply_packets = 0;
    std::uint32_t unlink_packets = 0;
};

Q_DECLARE_METATYPE(UsbIPPacketInfo)
Q_DECLARE_METATYPE(CaptureStats)

/// Makes both types, and uint32_t by that name, known to queued connections and signal spies. Cheap when repeated.
void registerCaptureTypes();
