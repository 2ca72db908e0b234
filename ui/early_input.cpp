#include "ui/early_input.h"

#include <QAbstractButton>
#include <QDialog>
#include <QElapsedTimer>
#include <QEvent>

namespace {

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TouchEnd:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
        return true;
    default:
        return false;
    }
}

class EarlyInput final : public QObject
{
public:
    EarlyInput(QDialog& dialog, int ms) : QObject(&dialog), m_ms(ms)
    {
        dialog.installEventFilter(this); // keys that no field took come here
        for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
            button->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show && watched == parent() && !m_sinceShown.isValid())
            m_sinceShown.start();
        return isInput(event->type()) && (!m_sinceShown.isValid() || m_sinceShown.elapsed() < m_ms);
    }

private:
    int m_ms;
    QElapsedTimer m_sinceShown;
};

} // namespace

void ignoreEarlyInput(QDialog& dialog, int ms)
{
    new EarlyInput(dialog, ms);
}
