// av_source_sink.h: the base of every stage of a media chain, and the contract between stages.
#pragma once

#include "media/ffmpeg_handles.h"

#include <string>
#include <vector>

/// A stage takes frames or packets and passes what becomes of them to the stages below it.
///
/// Ownership: a pushed frame or packet stays the caller's. A stage may change it, replace its content or take its
/// content out; it may keep a reference, but then the caller's next item may reuse the same memory, so what must last
/// is copied. A stage does not own its neighbours: chained stages outlive their use.
///
/// Result: true means that the item was taken, also when nothing came of it yet. False means that the chain cannot go
/// on; it travels up to the reader, which ends its loop. The stage that refuses keeps the reason in words.
///
/// Thread: all stages of a chain run on the thread that reads its input. Chaining happens before the first item.
class AVSourceSink
{
public:
    AVSourceSink();
    virtual ~AVSourceSink();
    AVSourceSink(const AVSourceSink&) = delete;
    AVSourceSink& operator=(const AVSourceSink&) = delete;

    /// Takes one picture or one block of sound. The base hands it to every downstream stage in order and stops at the
    /// first that refuses.
    virtual bool pushFrame(AVFrame* frame);

    /// Takes one compressed packet; the base forwards as pushFrame does.
    virtual bool pushPacket(AVPacket* packet);

    /// Appends `child` to the downstream stages and makes this stage its upstream.
    void chain(AVSourceSink& child);

    /// Size in pixels and FFmpeg format number of what comes in; the format is -1 until the first frame.
    int inputWidth() const { return m_inputWidth; }
    int inputHeight() const { return m_inputHeight; }
    int inputFormat() const { return m_inputFormat; }

    /// For stages that are told their input's size before the first item.
    void setInputSize(int width, int height)
    {
        m_inputWidth = width;
        m_inputHeight = height;
    }

    /// Why an item was refused by this stage or one below it, for people; empty when none of them says.
    std::string refusal() const;

    AVCodecID codecId() const { return m_codecId; }

    /// Null when the stage has none.
    const AVCodecParameters* codecParameters() const { return m_codecParameters.get(); }

    AVSourceSink* upstream() const { return m_upstream; }
    const std::vector<AVSourceSink*>& downstream() const { return m_downstream; }

protected:
    /// Keeps the reason why an item is refused. Returns false, the refusing stage's answer.
    bool refuse(std::string reason);

    /// Keeps the format and the size of the first frame as the stage's input.
    void recordInput(const AVFrame& frame);

    int m_inputWidth = 0;
    int m_inputHeight = 0;
    int m_inputFormat = -1;
    AVCodecID m_codecId = AV_CODEC_ID_NONE;
    ffmpeg::CodecParameters m_codecParameters;

private:
    AVSourceSink* m_upstream = nullptr;
    std::vector<AVSourceSink*> m_downstream;
    std::string m_refusal;
};
