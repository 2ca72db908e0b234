// source_player.h: keeps a source playing: one that is lost is started again.
#pragma once

#include "media/source_status.h"
#include "media/video_file_source.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <mutex>

/// Owns one run of the source after the other. A run that was lost is followed by another one after a pause, which
/// doubles with each run that brought nothing. Where the commands have put the picture outlives the runs.
///
/// Lives on a thread with an event loop. take(), recycle() and what is asked about the source may come from any thread.
/// What a device asks of it is virtual: the device process is not linked with FFmpeg, and gets its players from a
/// library that it loads when it needs one.
class SourcePlayer : public QObject
{
    Q_OBJECT

public:
    struct Pauses
    {
        std::chrono::milliseconds first{250};
        std::chrono::milliseconds longest{8000};
    };

    explicit SourcePlayer(VideoFileSettings settings, QObject* parent = nullptr);
    SourcePlayer(VideoFileSettings settings, Pauses pauses, QObject* parent = nullptr);
    ~SourcePlayer() override;

    /// Starts the first run; once.
    virtual void start();

    /// Ends the run and starts no other; waits for its thread.
    void stop();

    /// The oldest item that waits, or that comes within `limit`, of this run or the next. Nothing once stopped.
    virtual std::optional<MediaItem> take(std::chrono::milliseconds limit = {});
    virtual void recycle(MediaItem&& item);

    virtual SourceStatus status() const;

    /// As VideoFileSource has them, of the run in progress.
    virtual std::string description() const;
    virtual AVRational pictureRate() const;
    virtual bool isLive() const;

    /// One that has ended plays again from there.
    virtual void seek(std::chrono::milliseconds position);
    virtual std::chrono::milliseconds position() const;
    virtual std::chrono::milliseconds duration() const;

    /// Of all runs together: runs that were started, and items that were dropped because nobody took them in time.
    int runs() const;
    std::uint64_t dropped() const;

signals:
    /// A run has ended by itself; the next one follows.
    void lost(QString reason);

private:
    std::shared_ptr<VideoFileSource> current() const;
    bool isStopped() const;
    void startRun(const VideoFileSettings& settings);
    void endRun();

    const VideoFileSettings m_settings;
    const Pauses m_pauses;
    std::chrono::milliseconds m_pause;
    mutable std::mutex m_lock;
    std::shared_ptr<VideoFileSource> m_source;
    std::string m_lastReason;
    std::uint64_t m_droppedBefore = 0;
    int m_runs = 0;
    bool m_stopped = false;
};
