// picture_window.h: shows the pictures of a source at its rate.
#pragma once

#include "media/source_player.h"
#include "tools/media/picture_feed.h"
#include "tools/media/sound_player.h"

#include <QImage>
#include <QSlider>
#include <QTimer>
#include <QWidget>

/// Plays while it exists. It is there at once and says that it connects; a source that is lost is tried again while the
/// last picture stays, with a mark. Space pauses, the full stop key shows the next picture of a pause, the arrow keys
/// and the slider go through a file, I shows what is at work and what was lost, and M
/// switches the sound off and on.
class PictureWindow : public QWidget
{
    Q_OBJECT

public:
    /// Starts the source. How it is handed over is the window's own choice; the rest of the settings holds. Pictures
    /// must be planar 4:2:0. Settings that select sound too have it played.
    explicit PictureWindow(VideoFileSettings settings, QWidget* parent = nullptr);
    ~PictureWindow() override;

    QImage picture() const { return m_feed.picture(); }
    SourceStatus status() const { return m_player.status(); }
    std::string description() const { return m_player.description(); }
    std::int64_t shownPictures() const { return m_feed.shown(); }
    std::int64_t latePictures() const { return m_feed.late(); }

signals:
    /// A file, which no waiting brings back, has ended by itself; `reason` is for people.
    void ended(QString reason);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    VideoFileSettings forDisplay(VideoFileSettings settings);
    PictureProgress progress() const;
    void pictureChanged();
    void showStatus();
    void showProgress();
    void seek(std::chrono::milliseconds position);
    QString details() const;
    QRect pictureArea() const;

    const bool m_isLive;
    const bool m_hasOwnSize;
    std::unique_ptr<SoundPlayer> m_sound; ///< Null when the settings select none.
    SourcePlayer m_player;
    PictureFeed m_feed;
    QTimer m_statusTimer;
    QSlider m_slider;      ///< Milliseconds; hidden while the source has no known end.
    QString m_mark;        ///< Over the picture; empty while it plays.
    bool m_isTold = false; ///< The details are shown, too.
};
