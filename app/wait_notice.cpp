#include "app/wait_notice.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QScreen>
#include <QWindow>

namespace {

/// A new window can be painted only when the system says so; what else has come may wait.
void waitUntilExposed(const QWidget& widget)
{
    constexpr int kMostMs = 200;
    QElapsedTimer waited;
    waited.start();
    while (!widget.windowHandle()->isExposed() && waited.elapsed() < kMostMs)
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers, 10);
}

} // namespace

WaitNotice::WaitNotice(QWidget* window)
    : QLabel(window->isVisible() ? window : nullptr, window->isVisible() ? Qt::Widget : Qt::SplashScreen)
    , m_window(window)
{
    setObjectName(QStringLiteral("waitNotice"));
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setFrameStyle(int(QFrame::Box) | int(QFrame::Plain));
    setContentsMargins(16, 8, 16, 8);
    setPalette(QPalette(QColor(0x333333), QColor(0xfffbe6)));
    setAutoFillBackground(true); // opaque: what lies below is not painted again for each text
}

void WaitNotice::say(const QString& text)
{
    setText(text);
    const QSize line(fontMetrics().horizontalAdvance(text), fontMetrics().height());
    resize(size().expandedTo(line + size() - contentsRect().size())); // seldom: what it uncovers is painted again
    const QRect around = isWindow() ? m_window->screen()->availableGeometry() : m_window->rect();
    QRect place = rect();
    place.moveCenter(around.center());
    setGeometry(place);
    show();
    raise();
    if (isWindow())
        waitUntilExposed(*this);
    repaint();
}
