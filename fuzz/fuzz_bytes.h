// fuzz_bytes.h: the bytes of a fuzzer's input, one after the other; zeros behind the end.
#pragma once

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

class FuzzBytes
{
public:
    FuzzBytes(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isEmpty() const { return m_next == m_end; }
    std::uint8_t byte() { return isEmpty() ? 0 : *m_next++; }
    std::uint16_t word() { return std::uint16_t(byte() | byte() << 8); }
    /// What is left of `size` bytes.
    QByteArray bytes(int size)
    {
        const auto count = std::min<std::ptrdiff_t>(size, m_end - m_next);
        const QByteArray taken(reinterpret_cast<const char*>(m_next), int(count));
        m_next += count;
        return taken;
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
