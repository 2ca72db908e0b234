#include "tools/media/picture_window.h"

#include <QPainter>

extern "C" {
#include <libavutil/imgutils.h>
}

PictureWindow::PictureWindow(const VideoFileSettings& settings, QWidget* parent) : QWidget(parent), m_source(settings)
{
    setWindowTitle(QStringLiteral("plugboard-media"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    resize(settings.width, settings.height);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &PictureWindow::showNext);
    m_timer.start(1000 / std::max(settings.frameRate, 1));
    m_source.start();
}

PictureWindow::~PictureWindow()
{
    m_source.requestStop();
}

void PictureWindow::showNext()
{
    std::optional<MediaItem> item = m_source.take();
    if (!item) {
        if (m_source.isFinished()) {
            m_timer.stop();
            emit ended(QString::fromStdString(m_source.description()));
        }
        return;
    }
    if (m_picture.isNull())
        setWindowTitle(QStringLiteral("plugboard-media: ") + QString::fromStdString(m_source.description()));
    convert(*item);
    m_source.recycle(std::move(*item));
    update();
}

void PictureWindow::convert(const MediaItem& item)
{
    if (item.kind != MediaItem::kFrame || item.width <= 0)
        return;
    const auto format = static_cast<AVPixelFormat>(item.format);
    if (m_picture.size() != QSize(item.width, item.height)) {
        m_picture = QImage(item.width, item.height, QImage::Format_RGB32);
        m_scaler.reset(sws_getContext(item.width, item.height, format, item.width, item.height, AV_PIX_FMT_BGRA,
                                      SWS_BILINEAR, nullptr, nullptr, nullptr));
    }
    std::uint8_t* planes[4] = {};
    int lineSizes[4] = {};
    if (!m_scaler || av_image_fill_arrays(planes, lineSizes, item.bytes.data(), format, item.width, item.height, 1) < 0)
        return;
    std::uint8_t* target[4] = {m_picture.bits()};
    const int targetLineSizes[4] = {static_cast<int>(m_picture.bytesPerLine())};
    sws_scale(m_scaler.get(), planes, lineSizes, 0, item.height, target, targetLineSizes);
}

void PictureWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (m_picture.isNull())
        return;
    const QSize size = m_picture.size().scaled(this->size(), Qt::KeepAspectRatio);
    const QRect area(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, size != m_picture.size());
    painter.drawImage(area, m_picture);
}
