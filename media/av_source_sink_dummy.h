// av_source_sink_dummy.h: a stage that passes everything on.
#pragma once

#include "media/av_source_sink.h"

class AVSourceSinkDummy final : public AVSourceSink
{
public:
    bool pushPacket(AVPacket* packet) override { return AVSourceSink::pushPacket(packet); }
};
