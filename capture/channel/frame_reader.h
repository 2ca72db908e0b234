// frame_reader.h: cuts the byte stream of the capture channel into frames.
#pragma once

#include <QByteArray>

#include <cstdint>

/// A frame is a type byte, three reserved bytes, the payload's length as little-endian uint32, and the payload.
/// Frames are read where they lie in the bytes that were appended; only one that is cut by the end of those is put
/// together elsewhere, so the cost of a stream is linear in its bytes however it is sliced.
class FrameReader
{
public:
    static constexpr int kHeaderSize = 8;
    static constexpr std::uint32_t kMaxPayload = 0x100000; ///< bytes; a longer frame is refused

    struct Frame
    {
        std::uint8_t type = 0;
        QByteArray payload; ///< refers to the reader's bytes: valid until the next call of next(), append() or clear()
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
    int pending() const { return m_cut.size() + m_buffer.size() - m_offset; }

private:
    bool holdsFrame() const;
    bool complete(int size);
    Result giveCutFrame(Frame& frame);

    QByteArray m_buffer; // the last bytes that were appended
    int m_offset = 0;    // of these, how many were read
    QByteArray m_cut;    // front of a frame whose rest comes from m_buffer
    QByteArray m_joined; // the last frame that was cut: its payload may be in use
};
