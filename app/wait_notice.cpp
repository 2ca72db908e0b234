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
    setStyleSheet(
        QStringLiteral("QLabel { background: #fffbe6; color: #333; border: 1px solid #c9b458; padding: 8px 16px; "
                       "}"));
}

void WaitNotice::say(const QString& text)
{
    setText(text);
    adjustSize();
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
