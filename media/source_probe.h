// source_probe.h: looks at a source for the settings dialogs: can it be opened, and what is in it.
#pragma once

#include "media/media_interrupt.h"

#include <QString>

#include <chrono>

/// What a probe found. Sizes are in pixels, 0 when there is no video; rates are 0 when there is no such stream.
struct SourceProbeResult
{
    bool opened = false;

    bool hasVideo = false;
    int width = 0;
    int height = 0;
    double frameRate = 0; ///< 30 for every source with video.

    bool hasAudio = false;
    int channels = 0;
    int sampleRate = 0; ///< Hz.

    QString error; ///< FFmpeg's words for why it did not open, empty when it did.

    /// Opened with a picture of a known size and rate.
    bool isUsableVideo() const { return opened && hasVideo && width > 0 && height > 0 && frameRate > 0; }
    /// Opened with sound of a known rate and channel count.
    bool isUsableAudio() const { return opened && hasAudio && sampleRate > 0 && channels > 0; }
};

/// Blocks the calling thread: opening and looking at the streams may each take as long as the limit, on a source that
/// accepts and never answers. Never throws. cancel() may come from another thread and holds for good.
class SourceProbe
{
public:
    enum class Kind
    {
        VideoAndAudio,
        Video,
        Audio
    };

    explicit SourceProbe(std::chrono::milliseconds limit = std::chrono::seconds(10)) : m_interrupt(limit) {}

    /// `source` is a path or a URL.
    SourceProbeResult probe(const QString& source, Kind kind = Kind::VideoAndAudio);

    void cancel() { m_interrupt.stop(); }

private:
    MediaInterrupt m_interrupt;
};
