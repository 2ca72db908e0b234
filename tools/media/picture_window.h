// picture_window.h: shows the pictures of a source at its rate.
#pragma once

#include "media/video_file_source.h"

#include <QImage>
#include <QTimer>
#include <QWidget>

/// Plays while it is shown. The source's own speed is that of the decoder; the window takes one picture per period,
/// and the source waits when the queue is full.
class PictureWindow : public QWidget
{
    Q_OBJECT

public:
    /// Pictures must be planar 4:2:0. Starts the source.
    explicit PictureWindow(const VideoFileSettings& settings, QWidget* parent = nullptr);
    ~PictureWindow() override;

    QImage picture() const { return m_picture; }

signals:
    /// The source has ended by itself; `reason` is for people.
    void ended(QString reason);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showNext();
    void convert(const MediaItem& item);

    VideoFileSource m_source;
    QTimer m_timer;
    QImage m_picture;
    ffmpeg::Scaler m_scaler;
};
