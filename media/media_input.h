// media_input.h: one opened file or network stream, read packet by packet.
#pragma once

#include "media/ffmpeg_handles.h"
#include "media/media_interrupt.h"

#include <string>

/// Opens with low-latency options. Every blocking call is bounded by the interrupt, which also ends it on a stop.
class MediaInput
{
public:
    /// `url` is a path or URL in UTF-8. A non-empty `protocols` (comma-separated) admits only those protocols.
    MediaInput(std::string url, MediaInterrupt& interrupt, std::string protocols = {});
    ~MediaInput();
    MediaInput(const MediaInput&) = delete;
    MediaInput& operator=(const MediaInput&) = delete;

    /// Closes what is open and opens the input from its beginning; 0 or FFmpeg's error code.
    int open();

    /// 0 or FFmpeg's error code.
    int findStreamInformation();

    /// The next packet; 0 or FFmpeg's error code (end of input, failure, time limit, stop).
    int read(AVPacket* packet);

    /// Whether open() brings back what has been read already: a file does, a live source does not.
    bool canRewind() const;

    /// Whether its end is not known: what gives sound and pictures as they happen. A file on a server is not live.
    bool isLive() const;

    /// Goes to the key packet before `time`, in microseconds of the input's own clock; 0 or FFmpeg's error code.
    int seek(std::int64_t time);

    /// What a result that is not 0 means, for people.
    std::string reasonFor(int result) const;

    bool isOpen() const { return m_context != nullptr; }

    /// Null when not open. Streams belong to it and die with the next open().
    const AVFormatContext* context() const { return m_context.get(); }

    const std::string& url() const { return m_url; }

private:
    void close();

    const std::string m_url;
    MediaInterrupt& m_interrupt;
    const std::string m_protocols;
    ffmpeg::FormatContext m_context;
};
