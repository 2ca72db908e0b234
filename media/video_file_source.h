// video_file_source.h: plays a source in a loop on a thread of its own into a queue.
#pragma once

#include "media/av_media_sink.h"
#include "media/av_scaler.h"
#include "media/media_interrupt.h"
#include "media/sound_speed.h"
#include "media/source_status.h"

#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

class MediaReader;

struct VideoFileSettings
{
    std::string url;   ///< Path or URL in UTF-8.
    int selector = -1; ///< Which streams, as the media reader has it.

    AVCodecID codec = AV_CODEC_ID_NONE; ///< None: pictures instead of packets.
    int pixelFormat = AV_PIX_FMT_YUV420P;
    int width = 640; ///< Pixels; 0: the source's own.
    int height = 480;
    int frameRate = 30;       ///< 0: the source's own.
    bool exactOutput = false; ///< As the media reader has it.

    int audioChannels = 2;
    int audioRate = 48000;                  ///< Hz.
    std::shared_ptr<SoundSpeed> soundSpeed; ///< As the resampler has it; null: always the source's own.

    bool loop = true; ///< Off: an input that can rewind plays to its end, and then no further run follows.
    std::chrono::milliseconds start{0}; ///< Where an input that can seek begins.

    /// Takes the sound, which then does not come into the source's own queue: the time stamp of each item is how many
    /// pictures came before it. Sound that cannot be played leaves the pictures alone.
    std::shared_ptr<AVMediaSink> sound;

    AVMediaSink::Overflow overflow = AVMediaSink::Overflow::DropOldest;
    AVMediaSink::Bound queue;

    /// At the most this much playing time waits in the queue, yet always one item; 0: only `queue` counts.
    std::chrono::milliseconds queueTime{0};
    ScalerSettings scaling;
    std::chrono::milliseconds inputTimeLimit = std::chrono::seconds(10);
};

/// Plays once started until it is stopped or its input fails; an object plays once. It may be stopped and destroyed at
/// any time, from the thread that owns it: destruction stops it and waits.
class VideoFileSource : public QThread, public AVMediaSink
{
    Q_OBJECT

public:
    explicit VideoFileSource(VideoFileSettings settings, QObject* parent = nullptr);
    ~VideoFileSource() override;

    /// Called on the media thread with an empty string when playing has ended, however it did. Set before start().
    void setCompletionCallback(std::function<void(const std::string&)> callback) { m_completed = std::move(callback); }

    /// Ends playing soon, and every wait on the queue now. From any thread.
    void requestStop();

    /// Whether the input has been opened, or has failed to, and the chains are built.
    bool isStarted() const { return m_started.load() != 0; }

    /// How playing goes. Any thread.
    SourceStatus status() const;

    /// Pictures per second, exactly: those of the settings, else the source's own, else 30; 0/1 until it is open. Any
    /// thread.
    AVRational pictureRate() const;

    /// Whether the input gives its sound and pictures as they happen, and cannot wait; false until it is open. Any
    /// thread.
    bool isLive() const { return m_isLive; }

    /// Goes on at the key picture before `position`, where the input can; what waits in the queue is dropped. Position
    /// and duration are 0 while they are not known. Any thread.
    void seek(std::chrono::milliseconds position);
    std::chrono::milliseconds position() const;
    std::chrono::milliseconds duration() const;

    /// One line for people: which decoder and encoder are at work, and why playing has ended. Any thread.
    std::string description() const;

protected:
    void run() override;
    bool isWanted() const override;

private:
    void buildChains();
    void play();
    void describe();
    void end();

    const VideoFileSettings m_settings;
    const std::unique_ptr<AVSourceSink> m_soundMark; ///< Stands before the sink of the sound; null without one.
    MediaInterrupt m_interrupt;
    std::unique_ptr<MediaReader> m_reader; ///< Made and seen by run(); by others once m_started is set.
    std::atomic<int> m_started{0};
    std::atomic<bool> m_isLive{false};
    std::function<void(const std::string&)> m_completed;
    mutable std::mutex m_descriptionLock; ///< Guards what follows.
    std::string m_description;
    std::string m_endReason;
    std::string m_useless; ///< Why nothing will ever come of the source; empty when something may.
    AVRational m_pictureRate = {0, 1};
    bool m_hasEnded = false;
    bool m_isComplete = false; ///< It has ended because it was to play once.
};
