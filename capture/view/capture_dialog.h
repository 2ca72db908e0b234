// capture_dialog.h: the window in which a user watches the traffic of one virtual device.
#pragma once

#include "capture/view/capture_pane.h"

#include <QDialog>
#include <QPointer>

class PacketDetailsDialog;

/// A capture pane and, beside it, a window with what is known of the packet that was clicked. The slots do what the
/// pane does when its buttons, its table or its client call for it.
class UsbIPCaptureDialog : public QDialog
{
    Q_OBJECT

public:
    explicit UsbIPCaptureDialog(qint64 processId, uint32_t deviceId = 0, QWidget* parent = nullptr,
                                Prompter& prompter = systemPrompter());

    CapturePane& pane() { return *m_pane; }
    UsbIPCaptureClient& client() { return m_pane->client(); }
    PacketTable& table() { return m_pane->packets().table(); }
    qint64 processId() const { return m_processId; }

public slots:
    void onStartCapture() { m_pane->startCapture(); }
    void onStopCapture() { m_pane->stopCapture(); }
    void onClearCapture() { m_pane->clearCapture(); }
    void onShowDeviceConfig() { m_pane->requestConfig(); }
    void onPacketCaptured(uint32_t, UsbIPPacketInfo packet) { m_pane->takePacket(packet); }
    void onDeviceConfigReceived(QJsonObject config) { m_pane->showConfig(config); }
    void onPacketItemClicked(QTreeWidgetItem* item, int) { m_pane->packets().choose(item); }
    void onHeaderSectionClicked(int logicalIndex) { m_pane->packets().clickHeader(logicalIndex); }
    void updateStatistics() { m_pane->showStats(); }
    void onConnected() { m_pane->onConnected(); }
    void onDisconnected() { m_pane->onDisconnected(); }
    void onConnectionError(QString error) { m_pane->onConnectionError(error); }
    void onCaptureStarted(uint32_t = 0) { m_pane->onStarted(); }
    void onCaptureStopped(uint32_t = 0) { m_pane->onStopped(); }
    void onCaptureCleared() { m_pane->onCleared(); }
    void onStatsUpdated(CaptureStats stats) { m_pane->setStats(stats); }

private:
    void showDetails(const std::optional<UsbIPPacketInfo>& packet, const PacketContext& context);

    qint64 m_processId;
    CapturePane* m_pane;
    QPointer<PacketDetailsDialog> m_details;
};
