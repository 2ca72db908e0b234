// source_preview.h: the first picture of a source that was looked at.
#pragma once

#include "media/source_probe.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTimer>

#include <memory>

/// Has its size from the beginning, so that nothing moves when a picture comes. GUI thread.
class SourcePreview : public QLabel
{
    Q_OBJECT

public:
    explicit SourcePreview(QWidget* parent = nullptr);
    ~SourcePreview() override;

    /// Shows that picture as soon as it is there, and waits for it for some seconds; null: there will be none.
    void await(std::shared_ptr<PendingPicture> picture);

    /// The picture belongs to another source than the one that is chosen now.
    void forget();

private:
    void say(const QString& text);
    void look();
    void stop();

    std::shared_ptr<PendingPicture> m_pending;
    QTimer m_look;
    QElapsedTimer m_waited;
};
