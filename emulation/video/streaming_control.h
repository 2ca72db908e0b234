// streaming_control.h: what host and camera agree on before pictures flow: probe and commit (UVC 1.5, 4.3.1).
#pragma once

#include "emulation/video/video_format.h"

namespace uvc {

/// bRequest of the class's requests.
enum Request : std::uint8_t
{
    SetCur = 0x01,
    GetCur = 0x81,
    GetMin = 0x82,
    GetMax = 0x83,
    GetRes = 0x84,
    GetLen = 0x85,
    GetInfo = 0x86,
    GetDef = 0x87
};

/// Fields of the probe and commit controls that a camera of one format fills in. Those after the first 26 bytes came
/// with UVC 1.1 (34 bytes), those after 34 with 1.5 (48 bytes).
struct StreamingParameters
{
    std::uint16_t bmHint = 1; ///< the frame interval is to be kept
    std::uint8_t bFormatIndex = 1;
    std::uint8_t bFrameIndex = 1;
    std::uint32_t dwFrameInterval = 0; ///< in 100 ns
    std::uint32_t dwMaxVideoFrameSize = 0;
    std::uint32_t dwMaxPayloadTransferSize = 0;
};

/// The lengths that hosts use, whatever the camera's version.
bool isStreamingLength(int bytes);
/// Of the camera's version.
int streamingLength(std::uint16_t uvcVersion);

/// The control's bytes, `length` of them.
QByteArray serialize(const StreamingParameters& parameters, int length);
/// Of bytes of one of the lengths, what the host chooses.
StreamingParameters parseStreaming(const QByteArray& bytes);

} // namespace uvc
