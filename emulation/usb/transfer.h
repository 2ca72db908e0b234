// transfer.h: one transfer that a host asked for, from its submission to its completion.
#pragma once

#include "emulation/usb/setup_packet.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace usb {

enum class TransferType : std::uint8_t
{
    Control,
    Isochronous,
    Bulk,
    Interrupt
};

enum class Status : std::uint8_t
{
    Ok,        ///< also with fewer bytes than the host has room for
    Stall,     ///< halts the endpoint, except endpoint 0
    Babble,    ///< the device had more bytes than the host has room for
    NoAnswer,  ///< no endpoint of the device took it
    Cancelled, ///< the host took it back, or a reset did
    Gone       ///< the device is no longer there
};

/// One packet of an isochronous transfer.
struct IsochronousPacket
{
    std::uint32_t offset = 0; ///< bytes from the start of the host's buffer
    std::uint32_t length = 0; ///< bytes that the host has room for, or sends
    std::uint32_t actual = 0; ///< bytes that went over the bus
    Status status = Status::Ok;
};

/// Lives on the event loop's thread, shared by usb::Device, which makes it of a link's request, and the function, which
/// completes it exactly once, during the call that submitted it or later. A second completion does nothing: the host
/// may have taken the transfer back meanwhile.
class Transfer
{
public:
    using Completed = std::function<void(const Transfer&)>;

    /// What the host asks for; set by the link but for the type, and not changed once the function has it.
    struct Request
    {
        std::uint32_t id = 0;                      ///< the link's number for it, unique among those not completed
        std::uint8_t endpoint = 0;                 ///< number, without the direction's bit
        bool in = false;                           ///< to the host; of a control transfer its data stage
        TransferType type = TransferType::Control; ///< set by usb::Device, from the endpoint
        std::uint32_t length = 0;                  ///< bytes of the host's buffer
        SetupPacket setup;                         ///< of a control transfer
        QByteArray data;                           ///< OUT: the bytes of the host
        std::vector<IsochronousPacket> packets;    ///< isochronous only
        std::uint32_t startFrame = 0;              ///< isochronous only: as the host says it
    };

    Transfer(Request request, Completed completed);

    const Request& request() const { return m_request; }
    std::uint8_t endpointAddress() const; ///< with 0x80 for IN

    /// OUT: all bytes were taken. IN, and requests without data: nothing to send.
    void complete(Status status = Status::Ok);
    /// IN: the bytes for the host. More than it has room for are cut; on an endpoint other than 0 that is Babble.
    void completeIn(QByteArray data);
    /// OUT of which only the first `actual` bytes were taken.
    void completeOut(std::uint32_t actual, Status status = Status::Ok);
    /// Isochronous: `packets` with `actual` and `status` filled in, as many as were asked for; `data` are the bytes of
    /// an IN transfer's packets one after the other, without gaps.
    void completeIsochronous(std::vector<IsochronousPacket> packets, QByteArray data = {});

    bool isCompleted() const { return m_completed == nullptr; }

    /// The result, once it is completed.
    Status status() const { return m_status; }
    std::uint32_t actualLength() const { return m_actual; } ///< bytes, either way
    const QByteArray& dataIn() const { return m_dataIn; }
    const std::vector<IsochronousPacket>& packets() const { return m_packets; }

private:
    void finish(Status status, std::uint32_t actual);

    Request m_request;
    Completed m_completed; ///< empty once called
    Status m_status = Status::Ok;
    std::uint32_t m_actual = 0;
    QByteArray m_dataIn;
    std::vector<IsochronousPacket> m_packets;
};

using TransferPointer = std::shared_ptr<Transfer>;

} // namespace usb
