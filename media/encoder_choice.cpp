#include "media/encoder_choice.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace {

struct Option
{
    const char* name;
    const char* value;
};

struct Candidate
{
    AVCodecID codec;
    const char* encoder;
    bool needsBitRate; ///< Its own default is one fixed rate for every size.
    std::vector<Option> options;
};

/// In the order of preference. Encoders that need their pictures in device memory are not among them.
const std::vector<Candidate>& candidates()
{
    static const std::vector<Candidate> all = {
        {AV_CODEC_ID_H264,
         "h264_nvenc",
         true,
         {{"preset", "p4"}, {"tune", "ull"}, {"zerolatency", "1"}, {"delay", "0"}}},
        {AV_CODEC_ID_H264, "h264_qsv", true, {{"preset", "veryfast"}, {"async_depth", "1"}}},
        {AV_CODEC_ID_H264, "h264_amf", true, {{"usage", "ultralowlatency"}}},
        {AV_CODEC_ID_H264, "libx264", false, {{"preset", "veryfast"}, {"tune", "zerolatency"}}},
        {AV_CODEC_ID_H264, "libopenh264", true, {}},
        {AV_CODEC_ID_H264, "h264_mf", true, {{"scenario", "live_streaming"}}},
        {AV_CODEC_ID_HEVC,
         "hevc_nvenc",
         true,
         {{"preset", "p4"}, {"tune", "ull"}, {"zerolatency", "1"}, {"delay", "0"}}},
        {AV_CODEC_ID_HEVC, "hevc_qsv", true, {{"preset", "veryfast"}, {"async_depth", "1"}}},
        {AV_CODEC_ID_HEVC, "hevc_amf", true, {{"usage", "ultralowlatency"}}},
        {AV_CODEC_ID_HEVC,
         "libx265",
         false,
         {{"preset", "ultrafast"}, {"tune", "zerolatency"}, {"x265-params", "log-level=error:repeat-headers=1"}}},
        {AV_CODEC_ID_HEVC, "hevc_mf", true, {{"scenario", "live_streaming"}}},
        {AV_CODEC_ID_MJPEG, "mjpeg", false, {}},
    };
    return all;
}

constexpr double kBitsPerPixel = 0.1; // Of one frame; a good picture at the sizes of cameras.
constexpr int kMjpegQuality = 4;      // 1 is best, 31 worst.

bool takesFormat(const AVCodec& encoder, AVPixelFormat wanted)
{
    for (const AVPixelFormat* format = encoder.pix_fmts; format && *format != AV_PIX_FMT_NONE; ++format) {
        if (*format == wanted)
            return true;
    }
    return false;
}

ffmpeg::CodecContext tryEncoder(const AVCodec& encoder, const EncoderSettings& settings, bool needsBitRate,
                                const std::vector<Option>& options)
{
    const int wanted = settings.pixelFormat == -1 ? defaultPixelFormat(settings.codec) : settings.pixelFormat;
    const auto format = static_cast<AVPixelFormat>(wanted);
    if (!takesFormat(encoder, format))
        return nullptr;
    ffmpeg::CodecContext context(avcodec_alloc_context3(&encoder));
    if (!context)
        return nullptr;
    const AVRational rate = settings.rate();
    const int roundedRate = std::max(static_cast<int>(av_rescale(1, rate.num, rate.den)), 1);
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = format;
    context->time_base = av_inv_q(rate);
    context->framerate = rate;
    context->gop_size = roundedRate;
    context->max_b_frames = 0;
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = settings.threadCount;
    if (format == AV_PIX_FMT_YUVJ420P)
        context->color_range = AVCOL_RANGE_JPEG;
    if (settings.codec == AV_CODEC_ID_MJPEG) {
        context->flags |= AV_CODEC_FLAG_QSCALE;
        context->global_quality = kMjpegQuality * FF_QP2LAMBDA;
    } else {
        context->flags |= AV_CODEC_FLAG_LOW_DELAY; // FFmpeg's MJPEG encoder has no delay and refuses the flag.
    }
    if (needsBitRate)
        context->bit_rate = static_cast<std::int64_t>(kBitsPerPixel * settings.width * settings.height * roundedRate);
    ffmpeg::Dictionary dictionary;
    for (const Option& option : options)
        dictionary.set(option.name, option.value);
    if (avcodec_open2(context.get(), &encoder, dictionary.address()) < 0)
        return nullptr;
    return context;
}

} // namespace

ffmpeg::CodecContext openEncoder(const EncoderSettings& settings)
{
    for (const Candidate& candidate : candidates()) {
        const AVCodec* encoder =
            candidate.codec == settings.codec ? avcodec_find_encoder_by_name(candidate.encoder) : nullptr;
        if (!encoder)
            continue;
        if (auto context = tryEncoder(*encoder, settings, candidate.needsBitRate, candidate.options))
            return context;
    }
    const AVCodec* encoder = avcodec_find_encoder(settings.codec);
    return encoder ? tryEncoder(*encoder, settings, false, {}) : nullptr;
}
