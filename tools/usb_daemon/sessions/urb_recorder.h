// urb_recorder.h: writes down transfers of a virtual device as captured packets, a request and a reply each.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <deque>

/// One packet as the capture channel carries it. Transfer types: 0 control, 1 isochronous, 2 bulk, 3 interrupt.
struct SessionPacket
{
    std::uint32_t deviceId = 0;
    std::uint32_t sequenceNumber = 0;
    bool isRequest = false;
    bool isUnlink = false;
    std::uint8_t endpoint = 0;
    std::uint8_t direction = 0; ///< 1 is IN
    std::uint8_t command = 0;
    std::uint32_t transferLength = 0;
    std::uint8_t transferType = 0;
    QByteArray header; ///< 48 bytes, little-endian words
    QByteArray data;
    QByteArray setup;
};

/// The frame of the capture channel that carries the packet; data beyond 65535 bytes is cut.
QByteArray packetFrame(const SessionPacket& packet, std::int64_t timestamp);

class UrbRecorder
{
public:
    explicit UrbRecorder(std::uint32_t deviceId) : m_deviceId(deviceId) {}

    /// A control transfer with the 8 setup bytes `setup`. `data` goes the way that the setup's direction bit says.
    void control(const QByteArray& setup, const QByteArray& data = {}, std::int32_t status = 0);
    /// A transfer from or to the device on endpoint number `endpoint`; `length` is the size of the host's buffer.
    void in(std::uint8_t type, std::uint8_t endpoint, std::uint32_t length, const QByteArray& data);
    void out(std::uint8_t type, std::uint8_t endpoint, const QByteArray& data);
    /// An IN transfer that the host takes back before the device has answered.
    void unlinked(std::uint8_t type, std::uint8_t endpoint, std::uint32_t length);

    bool isEmpty() const { return m_packets.empty(); }
    SessionPacket take();

private:
    struct Urb
    {
        std::uint8_t type = 0;
        std::uint8_t endpoint = 0;
        bool in = false;
        std::uint32_t length = 0;
        QByteArray setup;
    };

    SessionPacket& request(const Urb& urb);
    SessionPacket& reply(const Urb& urb, std::uint32_t actualLength, std::int32_t status);
    SessionPacket& packet(const Urb& urb, std::uint8_t command);

    std::uint32_t m_deviceId;
    std::uint32_t m_sequenceNumber = 0;
    std::deque<SessionPacket> m_packets;
};
