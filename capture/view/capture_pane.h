// capture_pane.h: everything of a capture window but its frame: a device process's capture, its packets, and files of
// them.
#pragma once

#include "capture/channel/capture_client.h"
#include "capture/view/packet_pane.h"
#include "ui/prompter.h"

#include <QPointer>
#include <QTimer>

class DeviceConfigDialog;
class FileJob;
class QLabel;
class QPushButton;

/// Talks to the capture server of one device process, which it starts looking for when it is made. Its packets are kept
/// as long as the pane lives; shown are those since the device process last confirmed that its capture was cleared, or
/// those of a file, to which nothing is added.
class CapturePane : public QWidget
{
    Q_OBJECT

public:
    struct Options
    {
        qint64 processId = 0; ///< 0: for files only
        uint32_t deviceId = 0;
        PacketPane::Options packets;
    };

    CapturePane(const Options& options, Prompter& prompter, QWidget* parent = nullptr);
    ~CapturePane() override;

    UsbIPCaptureClient& client() { return m_client; }
    PacketPane& packets() { return *m_packets; }

    void startCapture();
    void stopCapture();
    void clearCapture();
    void requestConfig();

    void takePacket(const UsbIPPacketInfo& packet);
    void showConfig(const QJsonObject& config);
    void setStats(const CaptureStats& stats);
    void showStats();
    void onConnected();
    void onDisconnected();
    void onConnectionError(const QString& error);
    void onStarted();
    void onStopped();
    void onCleared();

    /// Asks for a file and starts writing all packets that are there to it, shown or filtered out, unless another file
    /// is being written or read.
    void askAndSave();
    /// Starts reading a file, whose packets are shown when they are there. Nothing changes when it has none.
    void openFile(const QString& path);
    /// Goes back from a file to the packets of the device process.
    void showLive();
    bool showsFile() const { return !m_filePath.isEmpty(); }
    /// Of the file that is shown.
    QString filePath() const { return m_filePath; }
    /// Asks, once for each packet, whether packets of the device process that are in no file may be left. True when
    /// there are none.
    bool mayLeavePackets(const QString& question);

    /// Of the client's packets: "Memory: 3 of 512 MiB", and what lies in the temporary file.
    QString memoryText() const;

signals:
    /// Other packets than before are shown: of a file, of the device process, or none.
    void contentChanged();

private:
    QWidget* makeButtons(bool live);
    void connectClient();
    void setCapturing(bool capturing);
    void showStatus(const QString& text);
    void showNoConfig();
    void startJob(FileJob* job);
    void endJob();
    void startSaving(const QString& path);
    void onSaved(const QString& error, bool cancelled);
    void onLoaded(const std::shared_ptr<PacketStore>& store, const QString& path, const QString& error, bool cancelled);
    void showJob();
    void saveOrCancel();

    Prompter& m_prompter;
    const Options m_options;
    UsbIPCaptureClient m_client;
    QPushButton* m_startButton = nullptr;
    QPushButton* m_stopButton = nullptr;
    QPushButton* m_saveButton = nullptr;
    QLabel* m_statusLabel;
    QLabel* m_memoryLabel;
    PacketPane* m_packets;
    bool m_capturing = false;
    CaptureStats m_stats;
    std::size_t m_liveFirst = 0; // number of the first packet since the capture was cleared
    std::size_t m_safeUpTo = 0;  // packets of the client before this number are in a file, or the user was asked
    QString m_filePath;
    QPointer<FileJob> m_job;
    bool m_jobIsSaving = false;
    QTimer m_updates;
    QPointer<DeviceConfigDialog> m_configViewer;
    bool m_boxPending = false;
};
