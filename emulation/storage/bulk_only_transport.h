// bulk_only_transport.h: USB Mass Storage, Bulk-Only Transport 1.0: command, data, status.
#pragma once

#include "emulation/storage/logical_unit.h"
#include "emulation/usb/transfer.h"

#include <cstdint>
#include <deque>

namespace storage {

/// Transfers wait until their stage comes. What the host and the device expect differently is answered as section 6.7
/// (the thirteen cases) has it:
/// - The host expects more than there is (4, 5, 9, 11): a short packet ends the data, or a stall where nothing short
///   can be sent; what the host sends too much is taken and dropped. The residue tells.
/// - The device would move more, or the other way (2, 3, 7, 8, 10, 13): the command is not carried out, and the status
///   is the phase error.
/// A wrapper that is not valid stalls both pipes until the reset recovery (6.6.1).
class BulkOnlyTransport
{
public:
    /// `packetSize` of the OUT endpoint in bytes: what is no multiple of it is a short packet.
    BulkOnlyTransport(LogicalUnit& unit, int packetSize);

    void submit(const usb::TransferPointer& transfer);
    void cancelled(const usb::Transfer& transfer);
    /// Bulk-Only Mass Storage Reset: ready for the next wrapper. Stalls stay until the host clears them.
    void reset();
    void inHaltCleared();
    /// As after power-on; no transfers are left.
    void powerOn();

private:
    enum class Stage
    {
        Command,
        DataIn,
        DataOut,
        Working, ///< the unit has yet to say how the command ended
        Status,
        Broken
    };
    enum class Status : std::uint8_t
    {
        Passed = 0,
        Failed = 1,
        PhaseError = 2
    };
    using Queue = std::deque<usb::TransferPointer>;

    void advance();
    bool step();
    void takeWrapper(const usb::TransferPointer& transfer);
    void sendData(const usb::TransferPointer& transfer);
    void takeData(const usb::TransferPointer& transfer);
    void sendStatus(const usb::TransferPointer& transfer);
    void stallIn(const usb::TransferPointer& transfer);
    void stallWaiting(Queue& queue);
    void finishCommand();

    LogicalUnit& m_unit;
    const int m_packetSize;
    Queue m_ins;
    Queue m_outs;
    Stage m_stage = Stage::Command;
    bool m_inHalted = false;
    bool m_advancing = false;

    // The command at hand; lengths in bytes.
    std::uint32_t m_tag = 0;
    std::uint64_t m_hostLength = 0;
    std::uint64_t m_deviceLength = 0; ///< that the device will take or send
    std::uint64_t m_moved = 0;        ///< of deviceLength
    std::uint64_t m_received = 0;     ///< of hostLength, also what was dropped
    Status m_status = Status::Passed;
};

} // namespace storage
