// logical_unit_commands.cpp: the commands of the logical unit, each up to its data phase.
#include "emulation/storage/logical_unit.h"

#include <algorithm>

namespace storage {

namespace {

constexpr std::uint8_t kWriteProtectedBit = 0x80; // in the device-specific parameter of mode data
constexpr std::uint8_t kForceUnitAccessBit = 0x10;
constexpr std::uint8_t kForceUnitAccess = 0x08; // in byte 1 of WRITE
constexpr std::uint8_t kProtection = 0xE0;      // as above, and of READ

/// Of the commands with forms of 6 and 10 bytes, whether it is the short one.
bool isShort(const CommandBlock& block)
{
    return block.operation() < 0x20;
}

std::uint16_t listLength(const CommandBlock& block)
{
    return isShort(block) ? block.u8(4) : block.u16(7);
}

void append32(QByteArray& bytes, std::uint32_t value)
{
    char word[4];
    qToBigEndian(value, word);
    bytes.append(word, sizeof word);
}

/// What does not fit is told as all ones.
std::uint32_t clamped(std::uint64_t value)
{
    return std::uint32_t(std::min<std::uint64_t>(value, 0xFFFFFFFF));
}

} // namespace

DataPhase LogicalUnit::testUnitReady(const CommandBlock&)
{
    return {};
}

DataPhase LogicalUnit::requestSense(const CommandBlock& block)
{
    constexpr std::uint8_t kDescriptorFormat = 1;
    if ((block.u8(1) & kDescriptorFormat) != 0)
        return fail(kInvalidField);
    Sense sense = std::exchange(m_sense, kNoSense);
    if (sense == kNoSense)
        sense = std::exchange(m_attention, kNoSense);
    if (sense == kNoSense && m_ejected)
        sense = kNoMedium;
    return answer(senseData(sense), block.u8(4));
}

DataPhase LogicalUnit::inquiry(const CommandBlock& block)
{
    const bool wantsVitalPage = (block.u8(1) & 1) != 0;
    const std::uint8_t code = block.u8(2);
    if (!wantsVitalPage && code != 0)
        return fail(kInvalidField);
    const auto data = wantsVitalPage ? vitalPage(code, m_identity) : inquiryData(m_identity);
    return data ? answer(*data, block.u16(3)) : fail(kInvalidField);
}

DataPhase LogicalUnit::modeSense(const CommandBlock& block)
{
    const auto control = PageControl(block.u8(2) >> 6);
    if (control == PageControl::Saved)
        return fail(kSavingNotSupported);
    const auto pages = modePages(block.u8(2) & 0x3F, block.u8(3), control, m_writeCache);
    if (!pages)
        return fail(kInvalidField);
    const std::uint8_t specific = kForceUnitAccessBit | (!m_ejected && m_medium->isReadOnly() ? kWriteProtectedBit : 0);
    QByteArray data(isShort(block) ? 4 : 8, '\0');
    data[isShort(block) ? 2 : 3] = char(specific);
    data += *pages;
    if (isShort(block))
        data[0] = char(data.size() - 1);
    else
        qToBigEndian(std::uint16_t(data.size() - 2), data.data());
    return answer(data, listLength(block));
}

DataPhase LogicalUnit::modeSelect(const CommandBlock& block)
{
    constexpr std::uint8_t kSavePages = 1;
    if ((block.u8(1) & kSavePages) != 0)
        return fail(kInvalidField);
    m_selectsModes = true;
    m_selectHeader = isShort(block) ? 4 : 8;
    return {DataPhase::Direction::Out, listLength(block)};
}

/// Header, block descriptors, which change nothing here, and pages, of which only the caching page has something to
/// change. All or nothing.
void LogicalUnit::selectModes()
{
    const QByteArray list = std::move(m_data);
    if (list.isEmpty())
        return;
    if (list.size() < m_selectHeader) {
        fail(kParameterListLength);
        return;
    }
    int at = m_selectHeader;
    at += m_selectHeader == 4 ? std::uint8_t(list[3]) : qFromBigEndian<std::uint16_t>(list.constData() + 6);
    bool writeCache = m_writeCache;
    while (at < list.size()) {
        const int size = at + 1 < list.size() ? 2 + std::uint8_t(list[at + 1]) : 2;
        if (at + size > list.size()) {
            fail(kParameterListLength);
            return;
        }
        const QByteArray page = list.mid(at, size);
        const auto current = modePages(std::uint8_t(page[0]), 0, PageControl::Current, writeCache);
        const auto wanted = std::uint8_t(page[0]) == kCachingPage ? wantedWriteCache(page) : std::nullopt;
        if (!wanted && (std::uint8_t(page[0]) == kCachingPage || current != page)) {
            fail(kInvalidParameter);
            return;
        }
        writeCache = wanted.value_or(writeCache);
        at += size;
    }
    if (at != list.size()) {
        fail(kParameterListLength);
        return;
    }
    m_writeCache = writeCache;
}

DataPhase LogicalUnit::startStop(const CommandBlock& block)
{
    const bool start = (block.u8(4) & 1) != 0;
    const bool loadOrEject = (block.u8(4) & 2) != 0;
    const bool powerCondition = (block.u8(4) & 0xF0) != 0;
    if (powerCondition)
        return {}; // a disk that needs no power is as ready in every condition
    if (!loadOrEject) {
        m_stopped = !start;
        m_flushes = !start && !m_ejected;
        return {};
    }
    if (start && m_ejected) {
        insert(m_medium);
    } else if (!start) {
        if (m_locked)
            return fail(kRemovalPrevented);
        m_flushes = !m_ejected;
        eject();
    }
    return {};
}

DataPhase LogicalUnit::preventRemoval(const CommandBlock& block)
{
    m_locked = (block.u8(4) & 1) != 0 && !m_ejected;
    return {};
}

DataPhase LogicalUnit::readFormatCapacities(const CommandBlock& block)
{
    constexpr std::uint32_t kFormatted = 2;
    constexpr std::uint32_t kNoMediumThere = 3;
    QByteArray data;
    append32(data, 8); // bytes that follow
    append32(data, m_ejected ? 0xFFFFFFFF : clamped(m_medium->blockCount()));
    append32(data, (m_ejected ? kNoMediumThere : kFormatted) << 24 | kBlockSize);
    return answer(data, block.u16(7));
}

DataPhase LogicalUnit::readCapacity(const CommandBlock&)
{
    QByteArray data;
    append32(data, clamped(m_medium->blockCount() - 1));
    append32(data, kBlockSize);
    return answer(data, std::uint64_t(data.size()));
}

DataPhase LogicalUnit::readCapacity16(const CommandBlock& block)
{
    constexpr std::uint8_t kReadCapacity = 0x10;
    if ((block.u8(1) & 0x1F) != kReadCapacity)
        return fail(kInvalidField);
    QByteArray data(32, '\0');
    qToBigEndian(quint64(m_medium->blockCount() - 1), data.data());
    qToBigEndian(std::uint32_t(kBlockSize), data.data() + 8);
    return answer(data, block.u32(10));
}

bool LogicalUnit::locate(const BlockRange& range)
{
    const std::uint64_t blocks = m_medium->blockCount();
    if (range.first > blocks || range.count > blocks - range.first) {
        fail(kOutOfRange.at(range.first));
        return false;
    }
    m_movesBlocks = true;
    m_position = std::int64_t(range.first) * kBlockSize;
    return true;
}

DataPhase LogicalUnit::readBlocks(const CommandBlock& block)
{
    const BlockRange range = block.range();
    if (!isShort(block) && (block.u8(1) & kProtection) != 0)
        return fail(kInvalidField);
    return locate(range) ? DataPhase{DataPhase::Direction::In, range.count * kBlockSize} : DataPhase();
}

DataPhase LogicalUnit::writeBlocks(const CommandBlock& block)
{
    const BlockRange range = block.range();
    if (!isShort(block) && (block.u8(1) & kProtection) != 0)
        return fail(kInvalidField);
    if (m_medium->isReadOnly())
        return fail(kWriteProtected);
    m_flushes = !m_writeCache || (!isShort(block) && (block.u8(1) & kForceUnitAccess) != 0);
    return locate(range) ? DataPhase{DataPhase::Direction::Out, range.count * kBlockSize} : DataPhase();
}

DataPhase LogicalUnit::verify(const CommandBlock& block)
{
    constexpr std::uint8_t kCompare = 0x06;
    if ((block.u8(1) & (kProtection | kCompare)) != 0)
        return fail(kInvalidField);
    locate(block.range());
    return {};
}

DataPhase LogicalUnit::synchronize(const CommandBlock& block)
{
    if (locate(block.range()))
        m_flushes = true;
    return {};
}

DataPhase LogicalUnit::reportUnits(const CommandBlock& block)
{
    constexpr std::uint8_t kWellKnownOnly = 1;
    constexpr std::uint8_t kAll = 2;
    if (block.u8(2) > kAll)
        return fail(kInvalidField);
    QByteArray data;
    const bool hasUnit = block.u8(2) != kWellKnownOnly;
    append32(data, hasUnit ? 8 : 0);
    append32(data, 0);
    if (hasUnit)
        data += QByteArray(8, '\0'); // unit 0
    return answer(data, block.u32(6));
}

} // namespace storage
