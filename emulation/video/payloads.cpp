#include "emulation/video/payloads.h"

#include "emulation/video/camera_descriptors.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace uvc {

namespace {

enum HeaderBits : std::uint8_t
{
    FrameId = 0x01,
    EndOfFrame = 0x02,
    HasPresentationTime = 0x04,
    HasSourceClock = 0x08,
    EndOfHeader = 0x80
};

std::uint32_t ticks(Payloads::Time time)
{
    return std::uint32_t(time.count() * (kClockFrequency / 1'000'000) / 1000);
}

/// Number of the bus's frame, 11 bits of milliseconds.
std::uint16_t frameNumber(Payloads::Time time)
{
    return std::uint16_t(time / std::chrono::milliseconds(1) & 0x7FF);
}

} // namespace

void Payloads::begin(PicturePointer picture, Time shown)
{
    m_picture = std::move(picture);
    m_sent = 0;
    m_shown = shown;
    m_frameId = !m_frameId;
}

int Payloads::append(QByteArray& bytes, int room, Time now)
{
    if (isEmpty())
        return 0;
    const std::size_t part = std::min(m_picture->size() - m_sent, std::size_t(room - kHeaderSize));
    const bool isLast = m_sent + part == m_picture->size();
    std::array<char, kHeaderSize> header{};
    header[0] = kHeaderSize;
    header[1] = char(EndOfHeader | HasSourceClock | HasPresentationTime | (isLast ? EndOfFrame : 0) |
                     (m_frameId ? FrameId : 0));
    qToLittleEndian(ticks(m_shown), header.data() + 2);
    qToLittleEndian(ticks(now), header.data() + 6);
    qToLittleEndian(frameNumber(now), header.data() + 10);
    bytes.append(header.data(), kHeaderSize);
    bytes.append(reinterpret_cast<const char*>(m_picture->data() + m_sent), int(part));
    m_sent += part;
    if (isLast)
        m_picture.reset();
    return kHeaderSize + int(part);
}

} // namespace uvc
