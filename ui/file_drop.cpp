#include "ui/file_drop.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QLineEdit>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

namespace {

/// Empty for anything but one file of this machine.
QString fileOf(const QMimeData& dragged)
{
    const QList<QUrl> urls = dragged.urls();
    const QString path = urls.size() == 1 ? urls.first().toLocalFile() : QString();
    return QFileInfo(path).isFile() ? path : QString();
}

class FileDrop final : public QObject
{
public:
    FileDrop(QWidget& target, std::function<void(const QString&)> take) : QObject(&target), m_take(std::move(take))
    {
        watch(target);
        for (QLineEdit* field : target.findChildren<QLineEdit*>())
            watch(*field);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        const QEvent::Type type = event->type();
        if (type != QEvent::DragEnter && type != QEvent::DragMove && type != QEvent::Drop)
            return false;
        auto* dragged = static_cast<QDropEvent*>(event);
        const QString path = fileOf(*dragged->mimeData());
        if (path.isEmpty())
            return false;
        dragged->setDropAction(Qt::CopyAction);
        dragged->accept();
        if (type == QEvent::Drop)
            QTimer::singleShot(0, this, [this, path] { m_take(path); });
        return true;
    }

private:
    void watch(QWidget& widget)
    {
        widget.setAcceptDrops(true);
        widget.installEventFilter(this);
    }

    std::function<void(const QString&)> m_take;
};

} // namespace

void takeDroppedFile(QWidget& target, std::function<void(const QString& path)> take)
{
    new FileDrop(target, std::move(take));
}
