// payloads.h: pictures cut into payloads, each behind its header (UVC 1.5, 2.4.3.3).
#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace uvc {

/// One picture on its way to the host; shared, since it may be shown again.
using PicturePointer = std::shared_ptr<std::vector<std::uint8_t>>;

/// Cuts one picture after the other. Every header has 12 bytes: frame id, end of frame, presentation time of the
/// picture and source clock of the payload.
class Payloads
{
public:
    /// Monotonic time of the camera's clock.
    using Time = std::chrono::nanoseconds;
    static constexpr int kHeaderSize = 12;

    /// Drops what is left of the picture. The next one has the other frame id.
    void restart() { m_picture.reset(); }

    bool isEmpty() const { return !m_picture; }

    /// Only while empty. `shown` is when the picture was taken.
    void begin(PicturePointer picture, Time shown);

    /// Appends the next payload to `bytes`, at most `room` bytes of it, which are more than a header's; nothing while
    /// empty. Returns how many were appended.
    int append(QByteArray& bytes, int room, Time now);

private:
    PicturePointer m_picture;
    std::size_t m_sent = 0; ///< bytes of the picture
    Time m_shown{};
    bool m_frameId = true; ///< the first picture has 0
};

} // namespace uvc
