// video_file_source.h: plays a source in a loop on a thread of its own into a queue.
#pragma once

#include "media/av_media_sink.h"
#include "media/av_scaler.h"
#include "media/media_interrupt.h"

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
    int width = 640;
    int height = 480;
    int frameRate = 30;

    int audioChannels = 2;
    int audioRate = 48000; ///< Hz.

    AVMediaSink::Overflow overflow = AVMediaSink::Overflow::DropOldest;
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

    /// One line for people: which decoder and encoder are at work, and why playing has ended. Any thread.
    std::string description() const;

protected:
    void run() override;

private:
    void describe();

    const VideoFileSettings m_settings;
    MediaInterrupt m_interrupt;
    std::unique_ptr<MediaReader> m_reader;
    std::atomic<int> m_started{0};
    std::function<void(const std::string&)> m_completed;
    mutable std::mutex m_descriptionLock;
    std::string m_description;
};
