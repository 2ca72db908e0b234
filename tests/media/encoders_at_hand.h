// encoders_at_hand.h: what FFmpeg can encode on this machine, asked of FFmpeg itself.
#pragma once

#include "media/ffmpeg_handles.h"

/// Whether any encoder of the codec opens with a small picture in a format of its own. One that FFmpeg lists may need
/// hardware or a part of the system that is not there.
inline bool ffmpegEncodes(AVCodecID codec)
{
    void* position = nullptr;
    while (const AVCodec* encoder = av_codec_iterate(&position)) {
        if (encoder->id != codec || !av_codec_is_encoder(encoder) || !encoder->pix_fmts)
            continue;
        const ffmpeg::CodecContext context(avcodec_alloc_context3(encoder));
        context->width = 160;
        context->height = 120;
        context->pix_fmt = encoder->pix_fmts[0];
        context->time_base = {1, 25};
        if (avcodec_open2(context.get(), encoder, nullptr) >= 0)
            return true;
    }
    return false;
}
