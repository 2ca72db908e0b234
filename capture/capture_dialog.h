// capture_dialog.h: the window in which a user watches the traffic of one virtual device.
#pragma once

#include "capture/capture_client.h"
#include "capture/packet_rows.h"
#include "capture/packet_table.h"
#include "ui/prompter.h"

#include <QDialog>
#include <QPointer>
#include <QTimer>

#include <array>
#include <memory>

class CaptureSaving;
class PacketDetailsDialog;
class QLabel;
class QPushButton;

/// Talks to the capture server of one device process, which it starts looking for when it is made. Packets are kept as
/// long as the window lives or until the device process has confirmed that its capture was cleared.
class UsbIPCaptureDialog : public QDialog
{
    Q_OBJECT

public:
    using PacketList = PacketRows::PacketList;
    using RowFilter = PacketRows::Filter;

    explicit UsbIPCaptureDialog(qint64 processId, uint32_t deviceId = 0, QWidget* parent = nullptr,
                                Prompter& prompter = systemPrompter());
    ~UsbIPCaptureDialog() override;

    UsbIPCaptureClient& client() { return m_client; }
    PacketTable& table() { return *m_table; }
    const PacketList& packets() const { return m_rows->packets(); }
    qint64 processId() const { return m_processId; }
    uint32_t deviceId() const { return m_deviceId; }

    /// Rows are shown when their type is and this says true; an empty filter shows all.
    void setRowFilter(RowFilter filter);
    /// Whether a packet that arrives scrolls the table to the bottom; it does unless switched off.
    void setFollowNewest(bool follow) { m_followNewest = follow; }
    /// Shows these packets in place of the ones there are.
    void setPackets(PacketList packets);
    /// The row of the packet at this position of the list, null when it is filtered out.
    PacketItem* rowOf(std::size_t number) { return m_rows->rowOf(number); }
    /// Whether rows of a long list are still being replaced, or its packets freed.
    bool isReplacingRows() const { return m_rows->isBusy(); }

    /// Asks for a file and starts writing all packets to it, shown or not, unless it is still saving: see
    /// CaptureSaving.
    void askAndSave();

public slots:
    void onStartCapture();
    void onStopCapture();
    void onClearCapture();
    void onShowDeviceConfig();
    void onPacketCaptured(uint32_t deviceId, UsbIPPacketInfo packet);
    void onDeviceConfigReceived(QJsonObject config);
    void onPacketItemClicked(QTreeWidgetItem* item, int column);
    void onHeaderSectionClicked(int logicalIndex);
    void updateStatistics();
    void onConnected();
    void onDisconnected();
    void onConnectionError(QString error);
    void onCaptureStarted(uint32_t deviceId = 0);
    void onCaptureStopped(uint32_t deviceId = 0);
    void onCaptureCleared();
    void onStatsUpdated(CaptureStats stats);

    void reject() override;

signals:
    /// The details window shows a packet.
    void detailsShown(PacketDetailsDialog* details);

private:
    QWidget* makeButtons();
    void connectClient();
    void setCapturing(bool capturing);
    void showStatus(const QString& text);
    void toggleTransferType(int type);
    void showFilterStatus();
    void startSaving(const QString& path);
    void onSaved(bool saved, const QString& error);
    void showSaving();
    void saveOrCancel();
    bool isShown(const UsbIPPacketInfo& packet) const;
    void rebuildTable();

    Prompter& m_prompter;
    UsbIPCaptureClient m_client;
    qint64 m_processId;
    uint32_t m_deviceId;
    QPushButton* m_startButton = nullptr;
    QPushButton* m_stopButton = nullptr;
    QPushButton* m_saveButton = nullptr;
    QLabel* m_statusLabel = nullptr;
    PacketTable* m_table = nullptr;
    std::unique_ptr<PacketRows> m_rows;
    QPointer<CaptureSaving> m_saving;
    QTimer m_savingTimer;
    std::array<bool, 4> m_shownTypes{true, true, true, true};
    RowFilter m_rowFilter;
    bool m_followNewest = true;
    bool m_capturing = false;
    CaptureStats m_stats;
    QPointer<PacketDetailsDialog> m_details;
};
