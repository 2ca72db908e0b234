#include "capture/channel/frame_reader.h"

#include <QtEndian>

#include <algorithm>

namespace {

/// Bytes of the payload, from the bytes of a frame's head.
std::uint32_t payloadSize(const char* head)
{
    return qFromLittleEndian<std::uint32_t>(head + 4);
}

} // namespace

void FrameReader::append(const QByteArray& bytes)
{
    const int left = m_buffer.size() - m_offset;
    if (left == 0) {
        m_buffer = bytes;
    } else if (m_cut.isEmpty() && !holdsFrame()) {
        m_cut.append(m_buffer.constData() + m_offset, left);
        m_buffer = bytes;
    } else {
        m_buffer = m_buffer.mid(m_offset) + bytes; // whoever takes the frames was not done with them
    }
    m_offset = 0;
}

bool FrameReader::holdsFrame() const
{
    const int left = m_buffer.size() - m_offset;
    return left >= kHeaderSize &&
           static_cast<std::uint32_t>(left - kHeaderSize) >= payloadSize(m_buffer.constData() + m_offset);
}

FrameReader::Result FrameReader::next(Frame& frame)
{
    if (!m_cut.isEmpty())
        return giveCutFrame(frame);
    const char* head = m_buffer.constData() + m_offset;
    if (m_buffer.size() - m_offset >= kHeaderSize && payloadSize(head) > kMaxPayload) {
        clear();
        return Result::Oversize;
    }
    if (!holdsFrame())
        return Result::Incomplete;
    const std::uint32_t length = payloadSize(head);
    frame.type = static_cast<std::uint8_t>(head[0]);
    frame.payload.setRawData(head + kHeaderSize, length);
    m_offset += kHeaderSize + static_cast<int>(length);
    return Result::Frame;
}

/// Moves bytes behind the cut frame until it has `size`; false when there are too few.
bool FrameReader::complete(int size)
{
    const int moved = std::min(size - m_cut.size(), m_buffer.size() - m_offset);
    if (moved > 0) {
        m_cut.append(m_buffer.constData() + m_offset, moved);
        m_offset += moved;
    }
    return m_cut.size() >= size;
}

FrameReader::Result FrameReader::giveCutFrame(Frame& frame)
{
    if (!complete(kHeaderSize))
        return Result::Incomplete;
    const std::uint32_t length = payloadSize(m_cut.constData());
    if (length > kMaxPayload) {
        clear();
        return Result::Oversize;
    }
    if (!complete(kHeaderSize + static_cast<int>(length)))
        return Result::Incomplete;
    m_joined.swap(m_cut);
    m_cut.resize(0);
    frame.type = static_cast<std::uint8_t>(m_joined.at(0));
    frame.payload.setRawData(m_joined.constData() + kHeaderSize, length);
    return Result::Frame;
}

void FrameReader::clear()
{
    m_buffer.clear();
    m_offset = 0;
    m_cut.clear();
}
