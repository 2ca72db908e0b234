// camera_feed.h: takes pictures from the source at the camera's rate, and has another one when none come.
#pragma once

#include "emulation/video/payloads.h"
#include "emulation/video/processing_unit.h"
#include "emulation/video/video_format.h"
#include "media/picture_clock.h"
#include "media/source_player.h"

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <deque>
#include <functional>
#include <vector>

namespace uvc {

/// Between start() and stop() a picture becomes ready whenever one is due. A host that is too far behind, by a part of
/// a second, gets the newest; of pictures that need those before them the next that needs none. A feed that is late
/// itself, by kMostMadeUp of usb/isochronous_pacer.h at the most, catches up at twice the speed: the film is then where
/// it would be without that, as long as its source can give pictures faster than they are shown. A source that has
/// brought nothing for a while is stood in for by its last picture, dimmed and with "no signal" on it. On the event
/// loop's thread.
class CameraFeed
{
public:
    using Ready = std::function<void()>;
    /// Monotonic.
    using Clock = std::function<PictureClock::Time()>;

    struct Counts
    {
        std::int64_t dropped = 0;  ///< pictures that the host was too slow for, or that are too large
        std::int64_t standIns = 0; ///< pictures that stood in for the source
    };

    /// Both are used as long as the feed lives; `ready` may take().
    CameraFeed(const CameraSetup& setup, const ProcessingUnit& processing, Ready ready,
               Clock clock = std::chrono::steady_clock::now);
    ~CameraFeed();

    void start();
    void stop();
    bool isRunning() const { return m_isRunning; }

    /// Null: there is none. `isLive`: it does not wait for us.
    void setPlayer(SourcePlayer* player, bool isLive);
    /// Pictures that need no others are repeated meanwhile; of others none come.
    void setPaused(bool isPaused);

    /// The picture that is ready, null when there is none.
    PicturePointer take();

    /// Deals with what is due; a timer calls it, too. Returns how long it may wait.
    std::chrono::milliseconds turn();

    const Counts& counts() const { return m_counts; }
    bool showsStandIn() const { return m_showsStandIn; }

private:
    PictureClock::Time beginTurn();
    bool produce(PictureClock::Time now);
    void beginAnewIfLate(PictureClock::Time now);
    PicturePointer nextFresh();
    PicturePointer takeAtSourceRate();
    PicturePointer takeNewest();
    PicturePointer takeOne();
    bool joins(const MediaItem& item);
    PicturePointer keep(MediaItem&& item);
    void offer(const PicturePointer& picture);
    std::int64_t room() const;
    std::chrono::nanoseconds longestWait() const;
    bool isGroupsFirst(const PicturePointer& picture) const;
    void forgetSchedule();
    void standIn();
    void makeStandIn();

    const CameraSetup& m_setup;
    const ProcessingUnit& m_processing;
    const Ready m_ready;
    const Clock m_now;
    SourcePlayer* m_player = nullptr;
    bool m_isLive = false;
    bool m_isPaused = false;
    bool m_isRunning = false;
    bool m_needsKey = true; ///< of inter-coded pictures: what comes before the next key picture is left out
    QTimer m_timer;
    PictureClock m_clock;
    bool m_isWaitingForFirst = true; ///< picture of the schedule
    PictureClock::Time m_lastFresh;
    PictureClock::Time m_lastTurn;
    std::int64_t m_ticks = 0;             ///< pictures shown since the source's schedule began
    std::int64_t m_taken = 0;             ///< pictures of the source that they needed
    std::deque<PicturePointer> m_waiting; ///< for the host; one, or inter-coded ones
    std::vector<PicturePointer> m_last;   ///< the last picture, behind those that it needs; empty: not known
    std::size_t m_lastBytes = 0;
    Counts m_counts;

    PicturePointer m_standIn;
    bool m_showsStandIn = false;
    bool m_isMaking = false;
    int m_generation = 0; ///< of what the stand-in is made of
    int m_noneFor = -1;   ///< the generation of which none could be made
    QObject m_receiver;   ///< of what the other thread has made
    QThreadPool m_threads;
};

} // namespace uvc
