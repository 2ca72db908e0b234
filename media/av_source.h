// av_source.h: the head of one chain: what is known of one stream of the input.
#pragma once

#include "media/av_source_sink.h"

#include <cstdint>

/// Keeps a copy of the codec parameters and never the stream, which dies when a looping input is opened again.
class AVSource final : public AVSourceSink
{
public:
    AVSource(bool isVideo, const AVCodecParameters& parameters, const AVStream& stream);

    bool isVideo() const { return m_isVideo; }
    int streamIndex() const { return m_streamIndex; }

    /// Video only, else 0 and -1.
    int width() const { return m_inputWidth; }
    int height() const { return m_inputHeight; }
    int pixelFormat() const { return m_pixelFormat; }

    /// Unit of the time stamps of the stream's packets.
    AVRational timeBase() const { return m_timeBase; }

    /// Pictures per second, exactly; 0/1 when not known.
    AVRational pictureRate() const { return m_pictureRate; }

    /// For a stream that has told its size in its first picture only.
    void setPicture(int width, int height, int pixelFormat);

    /// Sound only, else 0 and -1. The mask is 0 when the channels have no positions.
    int channels() const { return m_channels; }
    int sampleRate() const { return m_sampleRate; }
    int sampleFormat() const { return m_sampleFormat; }
    std::uint64_t channelLayout() const { return m_channelLayout; }

private:
    bool m_isVideo;
    int m_streamIndex;
    AVRational m_timeBase;
    AVRational m_pictureRate;
    int m_pixelFormat = -1;
    int m_channels = 0;
    int m_sampleRate = 0;
    int m_sampleFormat = -1;
    std::uint64_t m_channelLayout = 0;
};
