#include "app/status_line.h"

#include "devices/device_launcher.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>

namespace {

QString keyName(const QKeySequence& key)
{
    return key.toString(QKeySequence::NativeText);
}

} // namespace

StatusLine::StatusLine(QWidget* parent)
    : QWidget(parent)
    , m_counts(new QLabel(this))
    , m_missing(new QLabel(tr("%1 is missing").arg(deviceProgramName()), this))
    , m_host(new QLabel(this))
{
    constexpr int kHeight = 20; // what the table leaves of the window
    constexpr int kSideMargin = 12;
    setFixedHeight(kHeight);
    // Of a size in pixels, like the height: a larger font of the system's would not fit.
    setStyleSheet(QStringLiteral("QLabel { color: #555; font-size: 12px; background: transparent; }"
                                 "QLabel#missing { color: #b3261e; font-weight: 600; }"));
    m_missing->setObjectName(QStringLiteral("missing"));
    const QStringList keys{tr("%1 Refresh").arg(keyName(QKeySequence::Refresh)),
                           tr("%1 Delete").arg(keyName(QKeySequence::Delete)),
                           tr("%1 Copy").arg(keyName(QKeySequence::Copy)), tr("%1 Menu").arg(keyName(Qt::Key_F10))};

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(kSideMargin, 0, kSideMargin, 0);
    layout->setSpacing(kSideMargin);
    layout->addWidget(m_counts);
    layout->addWidget(m_missing);
    layout->addWidget(m_host);
    layout->addStretch();
    layout->addWidget(new QLabel(keys.join(QStringLiteral("   ")), this));
}

void StatusLine::setHostWay(std::optional<HostWay> way)
{
    m_host->setVisible(way.has_value());
    if (way == HostWay::Kernel) {
        m_host->setText(tr("Host: this computer"));
        m_host->setToolTip(tr("Devices are plugged into this computer's virtual USB controller."));
    } else if (way == HostWay::Server) {
        m_host->setText(tr("Host: USB/IP clients"));
        m_host->setToolTip(
            tr("This computer's virtual USB controller cannot be used. Each device waits on 127.0.0.1 for "
               "a USB/IP client."));
    } else {
        m_host->setText(tr("No host"));
    }
}

void StatusLine::setStatus(const Status& status)
{
    QString counts = status.devices == 0   ? tr("No devices")
                     : status.devices == 1 ? tr("1 device")
                                           : tr("%1 devices").arg(status.devices);
    if (status.ended > 0)
        counts = tr("%1, %2 ended").arg(counts).arg(status.ended);
    m_counts->setText(counts);
    m_missing->setVisible(status.programMissing);
}
