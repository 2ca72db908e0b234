// frame_reader.h: cuts the byte stream of the capture channel into frames.
#pragma once

#include <QByteArray>

#include <cstdint>

/// A frame is a type byte, three reserved bytes, the payload's length as little-endian uint32, and the payload.
/// Frames are taken from the front by moving an offset; what remains is moved once per append at most, so the cost of
/// a stream is linear in its bytes however it is sliced.
class FrameReader
{
public:
    static constexpr int kHeaderSize = 8;
    static constexpr std::uint32_t kMaxPayload = 0x100000; ///< bytes; a longer frame is refused

    struct Frame
    {
        std::uint8_t type = 0;
        QByteArray payload; ///< refers to the reader's buffer: valid until the next append() or clear()
    };

    enum class Result
    {
        Frame,      ///< `frame` is the next one and is consumed
        Incomplete, ///< more bytes are needed
        Oversize,   ///< a length above kMaxPayload: everything buffered was discarded
    };

    void append(const QByteArray& bytes);
    Result next(Frame& frame);
    void clear();

    /// Bytes that wait for the rest of their frame. Once next() has said Incomplete: at most kHeaderSize + kMaxPayload.
    int pending() const { return m_buffer.size() - m_offset; }

private:
    QByteArray m_buffer;
    int m_offset = 0;
};
