// wait_notice.h: says what is waited for while a call holds up the window.
#pragma once

#include <QLabel>

/// Shown from the first say() until it is destroyed: over `window` while that is visible, else as a window of its own.
/// Each text is on the screen when say() returns, without an event loop. GUI thread.
class WaitNotice : public QLabel
{
    Q_OBJECT

public:
    explicit WaitNotice(QWidget* window);

    void say(const QString& text);

private:
    QWidget* m_window;
};
