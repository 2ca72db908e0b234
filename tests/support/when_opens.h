// when_opens.h: what a test does with a window that runs an event loop of its own.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QTimer>

/// Runs `react` once on the next menu or modal window of that kind and, unless it is empty, of that title, from the
/// window's own event loop.
template<typename Window = QDialog, typename React>
void whenOpens(const QString& title, React react)
{
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, react, title] {
        QWidget* menu = QApplication::activePopupWidget();
        auto* window = qobject_cast<Window*>(menu ? menu : QApplication::activeModalWidget());
        if (!window || !window->isVisible() || (!title.isEmpty() && window->windowTitle() != title))
            return;
        timer->stop();
        timer->deleteLater();
        react(*window);
    });
    timer->start(1);
}
