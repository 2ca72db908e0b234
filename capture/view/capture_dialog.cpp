#include "capture/view/capture_dialog.h"

#include "capture/view/details_view.h"
#include "capture/view/packet_details_dialog.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

UsbIPCaptureDialog::UsbIPCaptureDialog(qint64 processId, uint32_t deviceId, QWidget* parent, Prompter& prompter)
    : QDialog(parent)
    , m_processId(processId)
    , m_pane(new CapturePane({processId, deviceId, {}}, prompter, this))
{
    setWindowTitle(tr("USB Packet Capture - Process %1").arg(processId));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pane);
    resize(QSize(1440, 680).boundedTo(QGuiApplication::primaryScreen()->availableSize() * 0.95));
    connect(&m_pane->packets(), &PacketPane::packetChosen, this, &UsbIPCaptureDialog::showDetails);
}

void UsbIPCaptureDialog::showDetails(const std::optional<UsbIPPacketInfo>& packet, const PacketContext& context)
{
    if (!m_details)
        m_details = new PacketDetailsDialog(this);
    if (packet)
        m_details->view().showPacket(*packet, context);
    else
        m_details->view().showNothing();
    if (!m_details->isVisible()) {
        m_details->show();
        m_details->standBeside(*this);
    }
    m_details->raise();
}
