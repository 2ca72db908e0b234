#include "emulation/storage/logical_unit.h"

#include <algorithm>
#include <iterator>

namespace storage {

struct LogicalUnit::Command
{
    std::uint8_t operation;
    bool evenOnAttention; ///< is carried out although something else is to be told first
    bool needsMedium;
    DataPhase (LogicalUnit::*begin)(const CommandBlock&);
};

const LogicalUnit::Command* LogicalUnit::find(std::uint8_t operation)
{
    static constexpr Command kCommands[] = {
        {0x00, false, true, &LogicalUnit::testUnitReady},   {0x03, true, false, &LogicalUnit::requestSense},
        {0x08, false, true, &LogicalUnit::readBlocks},      {0x0A, false, true, &LogicalUnit::writeBlocks},
        {0x12, true, false, &LogicalUnit::inquiry},         {0x15, false, false, &LogicalUnit::modeSelect},
        {0x1A, false, false, &LogicalUnit::modeSense},      {0x1B, false, false, &LogicalUnit::startStop},
        {0x1E, false, false, &LogicalUnit::preventRemoval}, {0x23, false, false, &LogicalUnit::readFormatCapacities},
        {0x25, false, true, &LogicalUnit::readCapacity},    {0x28, false, true, &LogicalUnit::readBlocks},
        {0x2A, false, true, &LogicalUnit::writeBlocks},     {0x2F, false, true, &LogicalUnit::verify},
        {0x35, false, true, &LogicalUnit::synchronize},     {0x55, false, false, &LogicalUnit::modeSelect},
        {0x5A, false, false, &LogicalUnit::modeSense},      {0x88, false, true, &LogicalUnit::readBlocks},
        {0x8A, false, true, &LogicalUnit::writeBlocks},     {0x8F, false, true, &LogicalUnit::verify},
        {0x91, false, true, &LogicalUnit::synchronize},     {0x9E, false, true, &LogicalUnit::readCapacity16},
        {0xA0, true, false, &LogicalUnit::reportUnits},     {0xA8, false, true, &LogicalUnit::readBlocks},
        {0xAA, false, true, &LogicalUnit::writeBlocks},     {0xAF, false, true, &LogicalUnit::verify},
    };
    const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [=](const Command& each) { return each.operation == operation; });
    return found == std::end(kCommands) ? nullptr : found;
}

LogicalUnit::LogicalUnit(UnitIdentity identity, Medium::Pointer medium, Flush flush)
    : m_identity(std::move(identity))
    , m_flush(std::move(flush))
    , m_medium(std::move(medium))
{}

void LogicalUnit::powerOn()
{
    abandon();
    m_stopped = false;
    m_locked = false;
    m_writeCache = true;
    m_sense = kNoSense;
    m_attention = kPowerOn;
}

void LogicalUnit::eject()
{
    m_ejected = true;
    m_locked = false;
}

void LogicalUnit::insert(Medium::Pointer medium)
{
    m_medium = std::move(medium);
    m_ejected = false;
    m_stopped = false;
    m_attention = kMediumChanged;
}

DataPhase LogicalUnit::begin(const CommandBlock& block)
{
    constexpr std::uint8_t kRequestSense = 0x03;
    ++m_generation;
    m_target = m_medium;
    m_failed = m_flushes = m_movesBlocks = m_selectsModes = false;
    m_position = 0;
    m_data.clear();
    if (block.operation() != kRequestSense)
        m_sense = kNoSense;
    const Command* const command = find(block.operation());
    if (command == nullptr)
        return fail(kUnknownCommand);
    if (!block.isComplete())
        return fail(kInvalidField);
    if (!command->evenOnAttention && !(m_attention == kNoSense))
        return fail(std::exchange(m_attention, kNoSense));
    if (command->needsMedium && m_ejected)
        return fail(kNoMedium);
    if (command->needsMedium && m_stopped)
        return fail(kStopped);
    return (this->*command->begin)(block);
}

DataPhase LogicalUnit::beginUnknownUnit()
{
    ++m_generation;
    return fail(kUnknownUnit);
}

DataPhase LogicalUnit::fail(const Sense& sense)
{
    m_failed = true;
    m_sense = sense;
    return {};
}

DataPhase LogicalUnit::answer(const QByteArray& data, std::uint64_t allocated)
{
    m_data = data.left(int(std::min<std::uint64_t>(allocated, std::uint64_t(data.size()))));
    return {DataPhase::Direction::In, std::uint64_t(m_data.size())};
}

bool LogicalUnit::read(char* to, std::int64_t length)
{
    if (m_movesBlocks && !m_target->read(m_position, to, length)) {
        fail(kReadFault.at(currentBlock()));
        return false;
    }
    if (m_movesBlocks)
        m_bytesRead += std::uint64_t(length);
    else
        std::copy_n(m_data.constData() + m_position, length, to);
    m_position += length;
    return true;
}

bool LogicalUnit::write(const char* from, std::int64_t length)
{
    if (m_movesBlocks && !m_target->write(m_position, from, length)) {
        fail(kWriteFault.at(currentBlock()));
        return false;
    }
    if (m_movesBlocks)
        m_bytesWritten += std::uint64_t(length);
    else
        m_data.append(from, int(length));
    m_position += length;
    return true;
}

void LogicalUnit::finish(Finished finished)
{
    if (m_selectsModes && !m_failed)
        selectModes();
    if (m_failed || !m_flushes || !m_target->needsFlush())
        return finished(!m_failed);
    m_flush(m_target, [this, generation = m_generation, finished = std::move(finished)](bool done) {
        if (generation != m_generation)
            return;
        if (!done)
            fail(kWriteFault);
        finished(done);
    });
}

} // namespace storage
