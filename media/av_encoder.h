// av_encoder.h: compresses pictures for streaming.
#pragma once

#include "media/av_source_sink.h"
#include "media/encoder_choice.h"
#include "media/end_of_stream.h"

#include <string>

/// Pictures in, packets out. Time stamps count packets from 0, whatever the pictures carry. Pictures must have the size
/// and format that the encoder was opened with; others are refused, and all are when no encoder opened.
class AVEncoder final : public AVSourceSink, public HoldingStage
{
public:
    explicit AVEncoder(const EncoderSettings& settings);

    bool isOpen() const { return m_context != nullptr; }

    bool pushFrame(AVFrame* frame) override;

    /// Pushes the packets that the encoder still holds. It takes no picture afterwards.
    bool flush() override;

    /// Name of FFmpeg's encoder, empty when none opened.
    std::string name() const { return m_context ? m_context->codec->name : ""; }

    /// What the packets are; null when no encoder opened. Time stamps are in units of its time base.
    const AVCodecContext* context() const { return m_context.get(); }

private:
    bool encode(AVFrame* frame);
    bool pushPackets();

    ffmpeg::CodecContext m_context;
    ffmpeg::Frame m_input;
    ffmpeg::Packet m_packet;
    const AVRational m_sourceRate;
    std::int64_t m_taken = 0; ///< Pictures.
    std::int64_t m_nextTimeStamp = 0;
};
