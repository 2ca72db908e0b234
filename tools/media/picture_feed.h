// picture_feed.h: turns the items of a source into images for a window, each at its time.
#pragma once

#include "media/ffmpeg_handles.h"
#include "media/picture_clock.h"
#include "media/source_player.h"

#include <QImage>
#include <QObject>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>

/// Takes one picture per period from the player, converts it, and announces it when it is due, on a thread of its own.
/// A source that brings nothing in time is waited for; what comes then counts from its arrival.
class PictureFeed : public QObject
{
    Q_OBJECT

public:
    /// The player outlives the feed.
    explicit PictureFeed(SourcePlayer& player, QObject* parent = nullptr);
    ~PictureFeed() override;

    void start();

    /// Pictures stay as they are until the feed goes on; step() shows one more meanwhile.
    void pause(bool paused);
    void step();
    bool isPaused() const { return m_paused; }

    /// The last picture; null before the first.
    QImage picture() const;

    /// Pictures announced so far, and those of them that were late by more than half a period.
    std::int64_t shown() const { return m_shown; }
    std::int64_t late() const { return m_late; }

    /// Which of the source's run the last picture is, counted from 0; -1 before the first.
    std::int64_t number() const { return m_number; }

signals:
    /// There is a new picture. Pictures that came before this was handled are announced together.
    void pictureChanged();

private:
    void run();
    bool showNext();
    bool waitUntil(PictureClock::Time time) const;
    QImage convert(const MediaItem& item);
    void publish(QImage image, std::uint64_t number);

    SourcePlayer& m_player;
    PictureClock m_clock;
    bool m_isRunning = false; ///< The clock counts; feed's thread only.
    std::chrono::nanoseconds m_conversion{0};
    ffmpeg::Scaler m_scaler;
    QSize m_size;
    int m_format = -1;
    mutable std::mutex m_lock;
    QImage m_picture;
    std::atomic<bool> m_announced{false};
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_paused{false};
    std::atomic<int> m_steps{0};
    std::atomic<std::int64_t> m_shown{0};
    std::atomic<std::int64_t> m_late{0};
    std::atomic<std::int64_t> m_number{-1};
    std::thread m_thread;
};
