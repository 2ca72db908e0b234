#include "capture/channel/frame_reader.h"

#include <QtEndian>

void FrameReader::append(const QByteArray& bytes)
{
    if (m_offset == m_buffer.size()) {
        m_buffer = bytes;
    } else {
        m_buffer.remove(0, m_offset);
        m_buffer.append(bytes);
    }
    m_offset = 0;
}

FrameReader::Result FrameReader::next(Frame& frame)
{
    if (pending() < kHeaderSize)
        return Result::Incomplete;
    const char* header = m_buffer.constData() + m_offset;
    const auto length = qFromLittleEndian<std::uint32_t>(header + 4);
    if (length > kMaxPayload) {
        clear();
        return Result::Oversize;
    }
    const int size = kHeaderSize + static_cast<int>(length);
    if (pending() < size)
        return Result::Incomplete;
    frame.type = static_cast<std::uint8_t>(header[0]);
    frame.payload.setRawData(header + kHeaderSize, length);
    m_offset += size;
    return Result::Frame;
}

void FrameReader::clear()
{
    m_buffer.clear();
    m_offset = 0;
}
