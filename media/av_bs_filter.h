// av_bs_filter.h: rewrites H.264 and H.265 packets of a container into start-code form (Annex B of the standards).
#pragma once

#include "media/av_source_sink.h"

/// Takes exactly one packet out per packet in. Other codecs, and a stream whose filter cannot be made, pass unchanged.
class AVBSFilter final : public AVSourceSink
{
public:
    /// Filter for what `upstream` delivers; chaining is the caller's.
    explicit AVBSFilter(const AVSourceSink& upstream);

    /// False when the filter refuses the packet or has nothing ready for it.
    bool pushPacket(AVPacket* packet) override;

    /// Null when packets pass unchanged.
    const AVBitStreamFilter* filter() const { return m_context ? m_filter : nullptr; }

private:
    const AVBitStreamFilter* m_filter = nullptr;
    ffmpeg::BitstreamFilter m_context;
};
