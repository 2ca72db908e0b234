#include "emulation/usb/transfer.h"

#include <algorithm>
#include <utility>

namespace usb {

namespace {

/// Packets of which nothing went over the bus.
std::vector<IsochronousPacket> untouched(std::vector<IsochronousPacket> packets, Status status)
{
    for (IsochronousPacket& packet : packets) {
        packet.actual = 0;
        packet.status = status;
    }
    return packets;
}

} // namespace

Transfer::Transfer(Request request, Completed completed)
    : m_request(std::move(request))
    , m_completed(std::move(completed))
{}

std::uint8_t Transfer::endpointAddress() const
{
    return static_cast<std::uint8_t>(m_request.endpoint | (m_request.in ? 0x80 : 0));
}

void Transfer::complete(Status status)
{
    if (isCompleted())
        return;
    if (!m_request.packets.empty())
        m_packets = untouched(m_request.packets, status);
    const bool allTaken = status == Status::Ok && !m_request.in && m_request.packets.empty();
    finish(status, allTaken ? static_cast<std::uint32_t>(m_request.data.size()) : 0);
}

void Transfer::completeIn(QByteArray data)
{
    if (isCompleted())
        return;
    const bool tooLong = static_cast<std::uint32_t>(data.size()) > m_request.length;
    if (tooLong)
        data.truncate(static_cast<int>(m_request.length));
    m_dataIn = std::move(data);
    finish(tooLong && m_request.type != TransferType::Control ? Status::Babble : Status::Ok,
           static_cast<std::uint32_t>(m_dataIn.size()));
}

void Transfer::completeOut(std::uint32_t actual, Status status)
{
    if (!isCompleted())
        finish(status, std::min(actual, static_cast<std::uint32_t>(m_request.data.size())));
}

void Transfer::completeIsochronous(std::vector<IsochronousPacket> packets, QByteArray data)
{
    if (isCompleted())
        return;
    std::uint32_t actual = 0;
    m_packets = m_request.packets;
    for (std::size_t i = 0; i < std::min(packets.size(), m_packets.size()); ++i) {
        m_packets[i].actual = std::min(packets[i].actual, m_packets[i].length);
        m_packets[i].status = packets[i].status;
        actual += m_packets[i].actual;
    }
    m_dataIn = m_request.in ? std::move(data) : QByteArray();
    Q_ASSERT(!m_request.in || static_cast<std::uint32_t>(m_dataIn.size()) == actual);
    finish(Status::Ok, actual);
}

void Transfer::finish(Status status, std::uint32_t actual)
{
    m_status = status;
    m_actual = actual;
    // Emptied first: what is called may look at the transfer, or complete it again.
    std::exchange(m_completed, nullptr)(*this);
}

} // namespace usb
