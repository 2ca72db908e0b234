// links: plugboard::capture_channel
// capture_frame_fuzzer.cpp: the frame reader gives the same frames however its bytes are sliced.
#include "capture/channel/frame_reader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

struct SeenFrame
{
    std::uint8_t type;
    QByteArray payload;
    bool operator==(const SeenFrame&) const = default;
};

/// Frames of a stream. Nothing is fed after a frame that is too long: what it takes with it depends on the slices.
class Stream
{
public:
    bool feed(const QByteArray& slice)
    {
        m_reader.append(slice);
        FrameReader::Frame frame;
        FrameReader::Result result;
        while ((result = m_reader.next(frame)) == FrameReader::Result::Frame)
            frames.push_back({frame.type, QByteArray(frame.payload.constData(), frame.payload.size())});
        if (m_reader.pending() > FrameReader::kHeaderSize + static_cast<int>(FrameReader::kMaxPayload))
            std::abort();
        return result != FrameReader::Result::Oversize;
    }

    std::vector<SeenFrame> frames;

private:
    FrameReader m_reader;
};

} // namespace

/// The first byte sets the pattern of slices, the rest is the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray stream(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    Stream whole;
    whole.feed(stream);

    Stream sliced;
    std::uint32_t state = data[0];
    for (int begin = 0; begin < stream.size();) {
        state = state * 1664525U + 1013904223U;
        const int length = 1 + static_cast<int>(state >> 28);
        if (!sliced.feed(stream.mid(begin, length)))
            break;
        begin += length;
    }
    if (sliced.frames != whole.frames)
        std::abort();
    return 0;
}
