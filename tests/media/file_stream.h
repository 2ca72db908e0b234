// file_stream.h: one stream of a media file, pushed into a chain.
#pragma once

#include "media/av_source.h"
#include "media/media_input.h"
#include "tests/media/media_files.h"

#include <memory>

/// The first stream of a kind in a file, with the stages' own way of reading it.
struct FileStream
{
    explicit FileStream(const char* file, AVMediaType kind = AVMEDIA_TYPE_VIDEO)
        : input(mediaFile(file).toStdString(), interrupt)
        , packet(av_packet_alloc())
    {
        if (input.open() != 0 || input.findStreamInformation() != 0)
            return;
        const int index = av_find_best_stream(const_cast<AVFormatContext*>(input.context()), kind, -1, -1, nullptr, 0);
        if (index >= 0) {
            const AVStream& stream = *input.context()->streams[index];
            source = std::make_unique<AVSource>(kind == AVMEDIA_TYPE_VIDEO, *stream.codecpar, stream);
        }
        input.open();
    }

    /// Pushes all packets into the source's chain; false when it refused one.
    bool play()
    {
        while (input.read(packet.get()) == 0) {
            const bool taken = packet->stream_index != source->streamIndex() || source->pushPacket(packet.get());
            av_packet_unref(packet.get());
            if (!taken)
                return false;
        }
        return true;
    }

    MediaInterrupt interrupt;
    MediaInput input;
    ffmpeg::Packet packet;
    std::unique_ptr<AVSource> source;
};
