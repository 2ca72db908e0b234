// stage_probe.h: a stage that keeps what reaches it, made-up pictures to push, and a scaler without its server.
#pragma once

#include "media/av_scaler.h"
#include "media/picture.h"

#include <cstring>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

/// Counts what it gets, keeps a reference to the last frame, and refuses after `limit` items.
struct StageProbe final : AVSourceSink
{
    bool pushFrame(AVFrame* frame) override
    {
        ++frames;
        samples += frame->nb_samples;
        last.reset(av_frame_clone(frame));
        if (onFrame)
            onFrame(*frame);
        return frames + packets < limit;
    }
    bool pushPacket(AVPacket* packet) override
    {
        ++packets;
        packetBytes.assign(packet->data, packet->data + packet->size);
        timeStamps.push_back(packet->pts);
        keys += packet->flags & AV_PKT_FLAG_KEY;
        return frames + packets < limit;
    }

    int limit = 1 << 30;
    int frames = 0;
    int packets = 0;
    int keys = 0;
    std::int64_t samples = 0;
    ffmpeg::Frame last;
    std::vector<std::uint8_t> packetBytes;
    std::vector<std::int64_t> timeStamps;
    std::function<void(const AVFrame&)> onFrame;
};

inline ScalerSettings withoutServer(bool placement = false)
{
    ScalerSettings settings;
    settings.serverName.clear();
    settings.appliesPlacement = placement;
    return settings;
}

/// A picture whose every byte tells its place.
inline ffmpeg::Frame patternPicture(int format, int width, int height)
{
    ffmpeg::Frame picture = makePicture(format, width, height);
    for (std::size_t index = 0; index < picture->buf[0]->size; ++index)
        picture->buf[0]->data[index] = static_cast<std::uint8_t>(index * 7 + index / 256 * 3);
    return picture;
}

/// One byte per sample of one plane; `columns` bytes of each of `rows` lines.
inline std::vector<std::uint8_t> planeBytes(const AVFrame& frame, int plane, int columns, int rows)
{
    std::vector<std::uint8_t> bytes;
    for (int row = 0; row < rows; ++row) {
        const std::uint8_t* line = frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane];
        bytes.insert(bytes.end(), line, line + columns);
    }
    return bytes;
}

/// Collects what is printed while it lives.
class PrintedText
{
public:
    PrintedText() : m_out(std::cout.rdbuf(m_text.rdbuf())), m_error(std::cerr.rdbuf(m_text.rdbuf())) {}
    ~PrintedText()
    {
        std::cout.rdbuf(m_out);
        std::cerr.rdbuf(m_error);
    }
    std::string take()
    {
        std::string text = m_text.str();
        m_text.str({});
        return text;
    }

private:
    std::ostringstream m_text;
    std::streambuf* m_out;
    std::streambuf* m_error;
};
