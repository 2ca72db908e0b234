// ffmpeg_handles.h: FFmpeg's headers and move-only owners of its objects.
#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/hwcontext.h>
#include <libavutil/pixdesc.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {

/// For functions that free through the address of the pointer.
template<auto Free>
struct AddressDeleter
{
    template<typename T>
    void operator()(T* object) const
    {
        Free(&object);
    }
};

template<auto Free>
struct Deleter
{
    template<typename T>
    void operator()(T* object) const
    {
        Free(object);
    }
};

/// A media file that is written: closes the file and frees what describes it. Its trailer is the writer's to write.
struct OutputDeleter
{
    void operator()(AVFormatContext* context) const
    {
        avio_closep(&context->pb);
        avformat_free_context(context);
    }
};

using FormatContext = std::unique_ptr<AVFormatContext, AddressDeleter<avformat_close_input>>;
using CodecContext = std::unique_ptr<AVCodecContext, AddressDeleter<avcodec_free_context>>;
using CodecParameters = std::unique_ptr<AVCodecParameters, AddressDeleter<avcodec_parameters_free>>;
using BitstreamFilter = std::unique_ptr<AVBSFContext, AddressDeleter<av_bsf_free>>;
using BufferReference = std::unique_ptr<AVBufferRef, AddressDeleter<av_buffer_unref>>;
using FilterGraph = std::unique_ptr<AVFilterGraph, AddressDeleter<avfilter_graph_free>>;
using FilterInOut = std::unique_ptr<AVFilterInOut, AddressDeleter<avfilter_inout_free>>;
using Frame = std::unique_ptr<AVFrame, AddressDeleter<av_frame_free>>;
using OutputContext = std::unique_ptr<AVFormatContext, OutputDeleter>;
using Packet = std::unique_ptr<AVPacket, AddressDeleter<av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, AddressDeleter<swr_free>>;
using Scaler = std::unique_ptr<SwsContext, Deleter<sws_freeContext>>;

/// Options on their way into a call; what the call leaves unused is freed with it.
class Dictionary
{
public:
    Dictionary() = default;
    ~Dictionary() { av_dict_free(&m_options); }
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    void set(const char* key, const char* value) { av_dict_set(&m_options, key, value, 0); }
    AVDictionary** address() { return &m_options; }

private:
    AVDictionary* m_options = nullptr;
};

/// FFmpeg's text for an error code.
inline std::string errorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

} // namespace ffmpeg
