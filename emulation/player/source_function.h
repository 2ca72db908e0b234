// source_function.h: what devices that play a source have in common: its player, and the commands for it.
#pragma once

#include "emulation/function/device_function.h"
#include "media/source_player.h"

#include <QTimer>

#include <chrono>
#include <memory>
#include <string>

/// A device that shows or sounds what a SourcePlayer plays. Its commands: `source FILE`, `pause`, `play`, `seek
/// SECONDS`; all others go to runOther(). The player is there only between startSource() and stopSource(), which the
/// device calls when its host begins and ends to use it; commands work at any time. On the event loop's thread.
class SourceFunction : public DeviceFunction
{
public:
    QString run(const QString& command) final;
    /// How the source is doing, then deviceStatus().
    QString status() const final;

    /// A source that gives what it has at a pace of its own, as cameras in the network do, instead of waiting to be
    /// asked.
    static bool isLive(const QString& source);

    /// Whether there is something to open: a URL, or a file that is there. What a player needs is not loaded for less.
    static bool isThere(const QString& source);

protected:
    /// `source` is a path or a URL; empty: there is none until a command names one.
    explicit SourceFunction(QString source);
    ~SourceFunction() override;

    /// Idempotent. Without a source there is no player either way.
    void startSource();
    /// Waits for the player's thread.
    void stopSource();

    /// Null while none plays. Another one after each sourceChanged().
    SourcePlayer* player() const { return m_player.get(); }
    bool isPaused() const { return m_isPaused; }
    const QString& source() const { return m_source; }

    /// How to play `source`; asked whenever a player is made. What the queue does when nobody takes is the device's
    /// choice: while the device is paused it should take nothing.
    virtual VideoFileSettings playerSettings(const QString& source) const = 0;

    /// player() is another one, or goes on elsewhere: what was kept of it is not wanted any more.
    virtual void sourceChanged() {}
    /// isPaused() has changed.
    virtual void pauseChanged() {}

    /// A command that is none of the four; as run().
    virtual QString runOther(const QString& command) = 0;
    /// As status(), without the source.
    virtual QString deviceStatus() const = 0;

    /// For sentences that list commands.
    static QString sourceCommands() { return QStringLiteral("source FILE, pause, play, seek SECONDS, status"); }

private:
    QString changeSource(const QString& source);
    QString pause(bool isPaused);
    QString seek(const QString& seconds);
    QString sourceStatus() const;

    QString m_source;
    QTimer m_nextTry;      ///< of a file that is not there
    bool m_isUsed = false; ///< between startSource() and stopSource()
    bool m_isPaused = false;
    std::unique_ptr<SourcePlayer> m_player;
};
