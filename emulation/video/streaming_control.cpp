#include "emulation/video/streaming_control.h"

#include "emulation/video/camera_descriptors.h"

#include <QtEndian>

namespace uvc {

namespace {

// Offsets of what travels; all that is not named stays 0.
constexpr int kHint = 0;
constexpr int kFormat = 2;
constexpr int kFrame = 3;
constexpr int kInterval = 4;
constexpr int kDelay = 16;
constexpr int kFrameSize = 18;
constexpr int kPayloadSize = 22;
constexpr int kClock = 26;
constexpr int kFraming = 30;
constexpr int kUsage = 34;
constexpr int kLongest = 48;

constexpr std::uint16_t kDelayMilliseconds = 32;
constexpr char kFrameIdAndEnd = 3; // payload headers have both

template<typename Word>
void put(QByteArray& bytes, int offset, Word word)
{
    qToLittleEndian(word, bytes.data() + offset);
}

} // namespace

bool isStreamingLength(int bytes)
{
    return bytes == 26 || bytes == 34 || bytes == kLongest;
}

int streamingLength(std::uint16_t uvcVersion)
{
    return uvcVersion >= 0x0150 ? kLongest : 26;
}

QByteArray serialize(const StreamingParameters& parameters, int length)
{
    QByteArray bytes(kLongest, '\0');
    put(bytes, kHint, parameters.bmHint);
    bytes[kFormat] = char(parameters.bFormatIndex);
    bytes[kFrame] = char(parameters.bFrameIndex);
    put(bytes, kInterval, parameters.dwFrameInterval);
    put(bytes, kDelay, kDelayMilliseconds);
    put(bytes, kFrameSize, parameters.dwMaxVideoFrameSize);
    put(bytes, kPayloadSize, parameters.dwMaxPayloadTransferSize);
    put(bytes, kClock, kClockFrequency);
    bytes[kFraming] = kFrameIdAndEnd;
    bytes[kFraming + 1] = 1; // preferred, least and greatest version of the payload's format
    bytes[kFraming + 2] = 1;
    bytes[kFraming + 3] = 1;
    bytes[kUsage] = 1; // real time
    return bytes.left(length);
}

StreamingParameters parseStreaming(const QByteArray& bytes)
{
    StreamingParameters parameters;
    parameters.bmHint = qFromLittleEndian<std::uint16_t>(bytes.constData() + kHint);
    parameters.bFormatIndex = std::uint8_t(bytes[kFormat]);
    parameters.bFrameIndex = std::uint8_t(bytes[kFrame]);
    parameters.dwFrameInterval = qFromLittleEndian<std::uint32_t>(bytes.constData() + kInterval);
    parameters.dwMaxVideoFrameSize = qFromLittleEndian<std::uint32_t>(bytes.constData() + kFrameSize);
    parameters.dwMaxPayloadTransferSize = qFromLittleEndian<std::uint32_t>(bytes.constData() + kPayloadSize);
    return parameters;
}

} // namespace uvc
