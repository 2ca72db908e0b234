// sound_player.h: plays the sound of a source beside the pictures of a feed.
#pragma once

#include "media/av_media_sink.h"
#include "tools/media/sound_output.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

/// Where the pictures are that the sound belongs to.
struct PictureProgress
{
    std::int64_t number = -1; ///< Of the picture that is shown; -1 before the first.
    double rate = 0;          ///< Pictures per second; 0: not known yet.
    bool isPaused = false;
};

/// Each block is played when the picture is shown after which it came, on a thread of its own: blocks that come too
/// early wait, and those that come too late are left out. Sound that flows goes on flowing within a quarter of a
/// second, so that it is not cut where pictures and sound lie unevenly in a file.
class SoundPlayer
{
public:
    using Progress = std::function<PictureProgress()>;

    static constexpr int kChannels = 2;
    static constexpr int kRate = 48000; ///< Hz

    /// `progress` is called on the player's thread while it lives. Without an output sound is dropped.
    SoundPlayer(Progress progress, std::unique_ptr<SoundOutput> output);
    ~SoundPlayer();

    /// Where the sound comes in, as VideoFileSettings::sound wants it.
    const std::shared_ptr<AVMediaSink>& queue() const { return m_queue; }

    /// Any thread: forgets what waits, since the pictures go on elsewhere.
    void drop() { m_queue->dropWaiting(); }

    void mute(bool muted) { m_muted = muted; }
    bool isMuted() const { return m_muted; }

private:
    void run();
    void play(const MediaItem& block);

    const Progress m_progress;
    const std::unique_ptr<SoundOutput> m_output;
    const std::shared_ptr<AVMediaSink> m_queue;
    bool m_flows = false; ///< Player's thread only.
    std::atomic<bool> m_muted{false};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
