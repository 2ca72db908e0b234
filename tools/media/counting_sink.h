// counting_sink.h: the end of a chain that only counts.
#pragma once

#include "media/av_source_sink.h"

#include <atomic>

/// Counters may be read from any thread while the chain runs.
class CountingSink : public AVSourceSink
{
public:
    bool pushFrame(AVFrame* frame) override
    {
        if (frame->width > 0)
            ++frames;
        samples += frame->nb_samples;
        return true;
    }
    bool pushPacket(AVPacket* packet) override
    {
        ++packets;
        bytes += packet->size;
        return true;
    }

    std::atomic<std::int64_t> frames{0};  ///< Pictures.
    std::atomic<std::int64_t> samples{0}; ///< Of one channel.
    std::atomic<std::int64_t> packets{0};
    std::atomic<std::int64_t> bytes{0}; ///< Of packets.
};
