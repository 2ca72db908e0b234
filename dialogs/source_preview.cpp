#include "dialogs/source_preview.h"

#include <QImage>
#include <QPixmap>

#include <utility>

namespace {

constexpr QSize kSize(192, 108);
constexpr int kLookIntervalMs = 50;
constexpr int kMostWaitMs = 5000;

} // namespace

SourcePreview::SourcePreview(QWidget* parent) : QLabel(parent)
{
    setFixedSize(kSize);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setFrameStyle(int(QFrame::Box) | int(QFrame::Sunken));
    m_look.setInterval(kLookIntervalMs);
    connect(&m_look, &QTimer::timeout, this, &SourcePreview::look);
    forget();
}

SourcePreview::~SourcePreview()
{
    stop();
}

void SourcePreview::await(std::shared_ptr<PendingPicture> picture)
{
    stop();
    say(picture ? tr("Waiting for a picture ...") : tr("No picture"));
    m_pending = std::move(picture);
    if (!m_pending)
        return;
    m_waited.start();
    m_look.start();
}

void SourcePreview::forget()
{
    stop();
    say(tr("The source's first picture appears here"));
}

/// A picture fills the frame, a text keeps away from it.
void SourcePreview::say(const QString& text)
{
    constexpr int kMargin = 4;
    setMargin(kMargin);
    setText(text);
}

void SourcePreview::look()
{
    const std::optional<PreviewPicture> picture = m_pending->take();
    if (!picture && m_waited.elapsed() < kMostWaitMs)
        return;
    stop();
    if (!picture || picture->width == 0) {
        say(tr("No picture"));
        return;
    }
    constexpr int kBytesPerPixel = 4;
    const QImage image(reinterpret_cast<const uchar*>(picture->pixels.constData()), picture->width, picture->height,
                       picture->width * kBytesPerPixel, QImage::Format_RGB32);
    QImage shown =
        image.scaled(contentsRect().size() * devicePixelRatioF(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    shown.setDevicePixelRatio(devicePixelRatioF());
    setMargin(0);
    setPixmap(QPixmap::fromImage(shown));
}

void SourcePreview::stop()
{
    m_look.stop();
    if (const std::shared_ptr<PendingPicture> pending = std::move(m_pending))
        pending->stop();
}
