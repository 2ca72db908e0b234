#include "tools/media/picture_window.h"

#include "media/media_reader.h"

#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace {

constexpr int kStatusMilliseconds = 100;
constexpr std::chrono::seconds kSeekStep(5);
constexpr int kMarkMargin = 8;                               // Pixels around its text.
constexpr AVMediaSink::Bound kQueue = {3, 64 * 1024 * 1024}; // The bytes are those of one picture of 8K.

/// What waits was placed before a command came: its effect is seen one period after this time at the latest.
constexpr std::chrono::milliseconds kQueueTime(50);

bool isLiveSource(const std::string& url)
{
    return url.find("://") != std::string::npos && url.compare(0, 5, "file:") != 0;
}

} // namespace

PictureWindow::PictureWindow(VideoFileSettings settings, QWidget* parent)
    : QWidget(parent)
    , m_isLive(isLiveSource(settings.url))
    , m_hasOwnSize(settings.width > 0 && settings.height > 0)
    , m_player(forDisplay(settings))
    , m_feed(m_player)
    , m_slider(Qt::Horizontal, this)
{
    setWindowTitle(QStringLiteral("plugboard-media"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    resize(m_hasOwnSize ? QSize(settings.width, settings.height) : QSize(640, 480));
    connect(&m_feed, &PictureFeed::pictureChanged, this, &PictureWindow::pictureChanged);
    connect(&m_player, &SourcePlayer::lost, this, [this](const QString& reason) {
        if (m_sound)
            m_sound->drop();
        if (!m_isLive)
            emit ended(reason);
    });
    connect(&m_statusTimer, &QTimer::timeout, this, &PictureWindow::showStatus);
    m_slider.hide();
    m_slider.setFocusPolicy(Qt::NoFocus);
    connect(&m_slider, &QSlider::sliderReleased, this, [this] { seek(std::chrono::milliseconds(m_slider.value())); });
    m_statusTimer.start(kStatusMilliseconds);
    showStatus();
    m_player.start();
    m_feed.start();
}

PictureWindow::~PictureWindow()
{
    m_player.stop(); // The feed may wait for an item.
    m_sound.reset(); // It asks the feed.
}

VideoFileSettings PictureWindow::forDisplay(VideoFileSettings settings)
{
    settings.overflow = m_isLive ? AVMediaSink::Overflow::DropOldest : AVMediaSink::Overflow::StayClose;
    settings.queue = kQueue; // A network delivers unevenly, so a live source may use all of it.
    if (!m_isLive)
        settings.queueTime = kQueueTime;
    if (settings.selector == kSelectBoth) {
        m_sound = std::make_unique<SoundPlayer>([this] { return progress(); },
                                                SoundOutput::open(SoundPlayer::kChannels, SoundPlayer::kRate));
        settings.sound = m_sound->queue();
        settings.audioChannels = SoundPlayer::kChannels;
        settings.audioRate = SoundPlayer::kRate;
    }
    return settings;
}

PictureProgress PictureWindow::progress() const
{
    const AVRational rate = m_player.pictureRate();
    return {m_feed.number(), rate.num > 0 ? av_q2d(rate) : 0, m_feed.isPaused()};
}

void PictureWindow::pictureChanged()
{
    if (m_feed.shown() > 0 && !m_hasOwnSize && windowTitle() == QLatin1String("plugboard-media"))
        resize(m_feed.picture().size() + QSize(0, height() - pictureArea().height()));
    if (windowTitle() == QLatin1String("plugboard-media"))
        setWindowTitle(QStringLiteral("plugboard-media: ") + QString::fromStdString(m_player.description()));
    if (!m_mark.isEmpty())
        showStatus(); // no picture bears the mark of the time before it
    update();
}

void PictureWindow::showStatus()
{
    const SourceStatus status = m_player.status();
    QString mark;
    if (status.state == SourceState::Playing)
        mark = m_feed.isPaused() ? QStringLiteral("paused") : QString();
    else
        mark = QString::fromLatin1(stateName(status.state));
    if (!status.reason.empty())
        mark += QStringLiteral(": ") + QString::fromStdString(status.reason);
    if (m_isTold)
        mark += (mark.isEmpty() ? QString() : QStringLiteral(", ")) + details();
    if (mark != m_mark) {
        m_mark = mark;
        update();
    }
    showProgress();
    if (status.state == SourceState::Lost && !m_isLive) {
        m_statusTimer.stop();
        emit ended(QString::fromStdString(status.reason));
    }
}

void PictureWindow::showProgress()
{
    const auto duration = static_cast<int>(m_player.duration().count());
    if (duration > 0 && m_slider.isHidden()) {
        m_slider.show();
        resize(size() + QSize(0, m_slider.sizeHint().height()));
        resizeEvent(nullptr);
    }
    m_slider.setMaximum(duration);
    if (!m_slider.isSliderDown())
        m_slider.setValue(static_cast<int>(m_player.position().count()));
}

void PictureWindow::seek(std::chrono::milliseconds position)
{
    if (m_slider.isHidden())
        return; // There is nowhere to go in a live source.
    if (m_sound)
        m_sound->drop();
    m_player.seek(std::clamp(position, std::chrono::milliseconds(0), m_player.duration()));
    if (m_feed.isPaused())
        m_feed.step(); // A pause, too, shows where the source stands.
}

QString PictureWindow::details() const
{
    const AVRational rate = m_player.pictureRate();
    return QStringLiteral("%1, %2 pictures/s, %3 shown, %4 late, %5 dropped")
        .arg(QString::fromStdString(m_player.description()))
        .arg(rate.num > 0 ? av_q2d(rate) : 0.0, 0, 'f', 2)
        .arg(m_feed.shown())
        .arg(m_feed.late())
        .arg(m_player.dropped());
}

QRect PictureWindow::pictureArea() const
{
    return m_slider.isHidden() ? rect() : rect().adjusted(0, 0, 0, -m_slider.sizeHint().height());
}

void PictureWindow::resizeEvent(QResizeEvent*)
{
    const int high = m_slider.sizeHint().height();
    m_slider.setGeometry(0, height() - high, width(), high);
}

void PictureWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space)
        m_feed.pause(!m_feed.isPaused());
    else if (event->key() == Qt::Key_Period && m_feed.isPaused())
        m_feed.step();
    else if (event->key() == Qt::Key_Left)
        seek(m_player.position() - kSeekStep);
    else if (event->key() == Qt::Key_Right)
        seek(m_player.position() + kSeekStep);
    else if (event->key() == Qt::Key_I)
        m_isTold = !m_isTold;
    else if (event->key() == Qt::Key_M && m_sound)
        m_sound->mute(!m_sound->isMuted());
    else
        QWidget::keyPressEvent(event);
    showStatus();
}

void PictureWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QImage picture = m_feed.picture();
    const QRect room = pictureArea();
    const QSize size = picture.size().scaled(room.size(), Qt::KeepAspectRatio);
    const QRect area(QPoint((room.width() - size.width()) / 2, (room.height() - size.height()) / 2), size);
    if (picture.isNull() || area != rect())
        painter.fillRect(rect(), Qt::black);
    if (!picture.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, size != picture.size());
        painter.drawImage(area, picture);
    }
    if (m_mark.isEmpty())
        return;
    const QString text = painter.fontMetrics().elidedText(m_mark, Qt::ElideRight, width() - 4 * kMarkMargin);
    QRect box = painter.fontMetrics().boundingRect(text).adjusted(-kMarkMargin, -kMarkMargin, kMarkMargin, kMarkMargin);
    box.moveCenter({room.width() / 2, room.height() - box.height()});
    painter.fillRect(box, QColor(0, 0, 0, 160));
    painter.setPen(Qt::white);
    painter.drawText(box, Qt::AlignCenter, text);
}
