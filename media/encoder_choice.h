// encoder_choice.h: opens the best encoder that this FFmpeg and this machine have for a codec.
#pragma once

#include "media/ffmpeg_handles.h"

struct EncoderSettings
{
    AVCodecID codec = AV_CODEC_ID_NONE;
    int pixelFormat = -1; ///< FFmpeg's number; -1: the encoder's own.
    int width = 0;        ///< Pixels.
    int height = 0;
    int frameRate = 30;
    int threadCount = 0; ///< 0: FFmpeg decides.

    AVRational exactRate = {0, 1}; ///< Pictures per second instead of frameRate; 0/1: there is none.

    /// Rate of the pictures that will come. When it is known, pictures are dropped or repeated so that they keep their
    /// speed at the rate above; 0/1: each picture becomes one packet.
    AVRational sourceRate = {0, 1};

    AVRational rate() const { return exactRate.num > 0 ? exactRate : AVRational{frameRate > 1 ? frameRate : 1, 1}; }
};

/// The pixel format an encoder of the codec is given when nothing else is asked for: full range for MJPEG.
inline int defaultPixelFormat(AVCodecID codec)
{
    return codec == AV_CODEC_ID_MJPEG ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
}

/// Hardware encoders first, then software. Low latency: no B-frames, a key frame each second, headers in the stream;
/// the time base is one frame. Null when none opens with these settings.
ffmpeg::CodecContext openEncoder(const EncoderSettings& settings);
