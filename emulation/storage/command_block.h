// command_block.h: a SCSI command as it comes from the host.
#pragma once

#include <QByteArray>
#include <QtEndian>

#include <array>
#include <cstdint>

namespace storage {

struct BlockRange
{
    std::uint64_t first = 0;
    std::uint64_t count = 0;
};

/// 16 bytes, those that the host did not send are zeros. Words are big-endian.
class CommandBlock
{
public:
    static constexpr int kLongest = 16;

    explicit CommandBlock(const QByteArray& bytes) : m_size(qMin(int(bytes.size()), kLongest))
    {
        std::copy_n(bytes.begin(), m_size, m_bytes.begin());
    }

    std::uint8_t operation() const { return u8(0); }
    /// Whether the host sent as much as the operation has (SPC-4, 4.2.5.1).
    bool isComplete() const
    {
        constexpr std::array<int, 8> kSizeOfGroup = {6, 10, 10, 6, 16, 12, 6, 6};
        return m_size >= kSizeOfGroup[operation() >> 5];
    }

    std::uint8_t u8(int at) const { return std::uint8_t(m_bytes[std::size_t(at)]); }
    std::uint16_t u16(int at) const { return qFromBigEndian<std::uint16_t>(&m_bytes[std::size_t(at)]); }
    std::uint32_t u32(int at) const { return qFromBigEndian<std::uint32_t>(&m_bytes[std::size_t(at)]); }
    std::uint64_t u64(int at) const { return qFromBigEndian<quint64>(&m_bytes[std::size_t(at)]); }

    /// The blocks of a READ, WRITE, VERIFY or SYNCHRONIZE CACHE of any length.
    BlockRange range() const
    {
        switch (operation() >> 5) {
        case 0:
            return {u32(0) & 0x1FFFFF, u8(4) == 0 ? 256U : u8(4)};
        case 4:
            return {u64(2), u32(10)};
        case 5:
            return {u32(2), u32(6)};
        default:
            return {u32(2), u16(7)};
        }
    }

private:
    std::array<char, kLongest> m_bytes = {};
    int m_size;
};

} // namespace storage
