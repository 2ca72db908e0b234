// source_probe.h: looks at a source for the settings dialogs: can it be opened, and what is in it.
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

/// The first picture of a source, made smaller where it was larger than asked for.
struct PreviewPicture
{
    int width = 0; ///< pixels; 0 when there is none
    int height = 0;
    QByteArray pixels; ///< rows without padding; four bytes a pixel: blue, green, red and one that means nothing
};

/// A picture that another thread is getting. Any thread.
class PendingPicture
{
public:
    virtual ~PendingPicture() = default;

    /// Nothing as long as it is not known whether there is one.
    virtual std::optional<PreviewPicture> take() = 0;

    /// It is not wanted any more.
    virtual void stop() = 0;
};

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

    QString error; ///< Why it did not open, mostly in FFmpeg's words; empty when it did.

    std::shared_ptr<PendingPicture> picture; ///< On its way, null when none is.

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

    virtual ~SourceProbe() = default;

    /// `source` is a path or a URL.
    virtual SourceProbeResult probe(const QString& source, Kind kind = Kind::VideoAndAudio) = 0;

    /// The first picture of what probe() opened, read on over the same connection. None for a source without pictures,
    /// after cancel() and when asked again.
    virtual PreviewPicture firstPicture(int mostWidth, int mostHeight) = 0;

    virtual void cancel() = 0;
};

std::unique_ptr<SourceProbe> makeSourceProbe(std::chrono::milliseconds limit = std::chrono::seconds(10));

/// The same as a function of the library kMediaModule. The caller owns the probe, which ends before the library does.
using MakeSourceProbe = SourceProbe* (*)(std::chrono::milliseconds limit);
inline constexpr const char* kMakeSourceProbe = "plugboardMakeSourceProbe";
