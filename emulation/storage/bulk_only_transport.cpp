#include "emulation/storage/bulk_only_transport.h"

#include <algorithm>
#include <optional>

namespace storage {

namespace {

constexpr int kWrapperSize = 31;
constexpr int kStatusSize = 13;
constexpr std::uint32_t kWrapperSignature = 0x43425355; ///< "USBC"
constexpr std::uint32_t kStatusSignature = 0x53425355;  ///< "USBS"

struct CommandWrapper
{
    std::uint32_t tag = 0;
    std::uint32_t dataLength = 0;
    bool dataIn = false;
    std::uint8_t unit = 0;
    CommandBlock block;
};

/// Valid and meaningful (6.2), but for the number of the unit.
std::optional<CommandWrapper> parseWrapper(const QByteArray& bytes)
{
    if (bytes.size() != kWrapperSize || qFromLittleEndian<std::uint32_t>(bytes.constData()) != kWrapperSignature)
        return std::nullopt;
    const int blockSize = bytes[14] & 0x1F;
    if (blockSize < 1 || blockSize > CommandBlock::kLongest)
        return std::nullopt;
    return CommandWrapper{qFromLittleEndian<std::uint32_t>(bytes.constData() + 4),
                          qFromLittleEndian<std::uint32_t>(bytes.constData() + 8), (bytes[12] & 0x80) != 0,
                          std::uint8_t(bytes[13] & 0x0F), CommandBlock(bytes.mid(15, blockSize))};
}

void removeFrom(std::deque<usb::TransferPointer>& queue, const usb::Transfer& transfer)
{
    queue.erase(std::remove_if(queue.begin(), queue.end(),
                               [&](const usb::TransferPointer& each) { return each.get() == &transfer; }),
                queue.end());
}

usb::TransferPointer takeFirst(std::deque<usb::TransferPointer>& queue)
{
    usb::TransferPointer first = std::move(queue.front());
    queue.pop_front();
    return first;
}

} // namespace

BulkOnlyTransport::BulkOnlyTransport(LogicalUnit& unit, int packetSize) : m_unit(unit), m_packetSize(packetSize)
{}

void BulkOnlyTransport::submit(const usb::TransferPointer& transfer)
{
    (transfer->request().in ? m_ins : m_outs).push_back(transfer);
    advance();
}

void BulkOnlyTransport::cancelled(const usb::Transfer& transfer)
{
    removeFrom(m_ins, transfer);
    removeFrom(m_outs, transfer);
}

void BulkOnlyTransport::reset()
{
    m_unit.abandon();
    m_stage = Stage::Command;
    advance();
}

void BulkOnlyTransport::inHaltCleared()
{
    m_inHalted = false;
    advance();
}

void BulkOnlyTransport::powerOn()
{
    m_inHalted = false;
    reset();
}

/// Completing a transfer may bring the next one at once: it waits until the step is done.
void BulkOnlyTransport::advance()
{
    if (m_advancing)
        return;
    m_advancing = true;
    while (step()) {
    }
    m_advancing = false;
}

bool BulkOnlyTransport::step()
{
    const bool canSend = !m_ins.empty() && !m_inHalted;
    switch (m_stage) {
    case Stage::Command:
        if (m_outs.empty())
            return false;
        takeWrapper(takeFirst(m_outs));
        return true;
    case Stage::DataOut:
        if (m_outs.empty())
            return false;
        takeData(takeFirst(m_outs));
        return true;
    case Stage::DataIn:
        if (!canSend)
            return false;
        sendData(takeFirst(m_ins));
        return true;
    case Stage::Status:
        if (!canSend)
            return false;
        sendStatus(takeFirst(m_ins));
        return true;
    case Stage::Broken:
        stallWaiting(m_ins);
        stallWaiting(m_outs);
        return false;
    case Stage::Working:
        return false;
    }
    return false;
}

void BulkOnlyTransport::takeWrapper(const usb::TransferPointer& transfer)
{
    const auto wrapper = parseWrapper(transfer->request().data);
    if (!wrapper) {
        m_stage = Stage::Broken;
        return transfer->completeOut(0, usb::Status::Stall);
    }
    transfer->complete();
    m_tag = wrapper->tag;
    m_hostLength = wrapper->dataLength;
    m_moved = m_received = 0;
    m_status = Status::Passed;
    const DataPhase phase = wrapper->unit == 0 ? m_unit.begin(wrapper->block) : m_unit.beginUnknownUnit();
    m_deviceLength = phase.length;
    const bool sameWay = wrapper->dataIn == (phase.direction == DataPhase::Direction::In);
    if (phase.length > 0 && (!sameWay || phase.length > m_hostLength)) {
        m_unit.abandon();
        m_deviceLength = 0;
        m_status = Status::PhaseError;
    }
    if (m_hostLength == 0)
        finishCommand();
    else
        m_stage = wrapper->dataIn ? Stage::DataIn : Stage::DataOut;
}

void BulkOnlyTransport::sendData(const usb::TransferPointer& transfer)
{
    if (m_moved == m_deviceLength)
        return stallIn(transfer);
    const auto length = std::min<std::uint64_t>(transfer->request().length, m_deviceLength - m_moved);
    QByteArray data(int(length), Qt::Uninitialized);
    if (!m_unit.read(data.data(), data.size())) {
        m_deviceLength = m_moved;
        return stallIn(transfer);
    }
    m_moved += length;
    const bool isShort = length < transfer->request().length;
    transfer->completeIn(std::move(data));
    if (isShort || m_moved == m_hostLength)
        finishCommand();
}

void BulkOnlyTransport::takeData(const usb::TransferPointer& transfer)
{
    const QByteArray& data = transfer->request().data;
    const auto length = std::min<std::uint64_t>(std::uint64_t(data.size()), m_deviceLength - m_moved);
    if (length > 0 && m_unit.write(data.constData(), std::int64_t(length)))
        m_moved += length;
    else if (length > 0)
        m_deviceLength = m_moved; // what still comes is dropped
    m_received += std::uint64_t(data.size());
    const bool isShort = data.isEmpty() || data.size() % m_packetSize != 0;
    if (isShort && m_moved < m_deviceLength)
        m_unit.cutShort();
    transfer->complete();
    if (isShort || m_received >= m_hostLength)
        finishCommand();
}

void BulkOnlyTransport::stallIn(const usb::TransferPointer& transfer)
{
    m_inHalted = true;
    finishCommand();
    transfer->complete(usb::Status::Stall);
}

void BulkOnlyTransport::stallWaiting(Queue& queue)
{
    while (!queue.empty())
        takeFirst(queue)->complete(usb::Status::Stall);
}

void BulkOnlyTransport::finishCommand()
{
    m_stage = Stage::Working;
    if (m_status == Status::PhaseError) {
        m_stage = Stage::Status;
        return;
    }
    m_unit.finish([this](bool passed) {
        m_status = passed ? Status::Passed : Status::Failed;
        m_stage = Stage::Status;
        advance();
    });
}

void BulkOnlyTransport::sendStatus(const usb::TransferPointer& transfer)
{
    QByteArray wrapper(kStatusSize, '\0');
    qToLittleEndian(kStatusSignature, wrapper.data());
    qToLittleEndian(m_tag, wrapper.data() + 4);
    qToLittleEndian(std::uint32_t(m_hostLength - m_moved), wrapper.data() + 8);
    wrapper[12] = char(m_status);
    m_stage = Stage::Command;
    transfer->completeIn(wrapper);
}

} // namespace storage
