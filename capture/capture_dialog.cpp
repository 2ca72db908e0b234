#include "capture/capture_dialog.h"

#include "capture/capture_saving.h"
#include "capture/device_config_dialog.h"
#include "capture/packet_columns.h"
#include "capture/packet_details_dialog.h"

#include <QCursor>
#include <QDir>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QThread>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kSavingInterval = 250; // ms between updates of how far saving has come

} // namespace

UsbIPCaptureDialog::UsbIPCaptureDialog(qint64 processId, uint32_t deviceId, QWidget* parent, Prompter& prompter)
    : QDialog(parent)
    , m_prompter(prompter)
    , m_processId(processId)
    , m_deviceId(deviceId)
    , m_statusLabel(new QLabel(this))
    , m_table(new PacketTable(this))
    , m_rows(std::make_unique<PacketRows>(*m_table, [this](const UsbIPPacketInfo& packet) { return isShown(packet); }))
{
    setWindowTitle(tr("USB Packet Capture - Process %1").arg(processId));
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    m_statusLabel->setTextFormat(Qt::PlainText);
    m_statusLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_table->setHeaderLabels({tr("Time"), tr("Sequence"), tr("Kind"), tr("Endpoint"), tr("Transfer \u25BE"),
                              tr("Direction"), tr("Length"), tr("Setup"), tr("Data"), tr("Details")});
    m_table->headerItem()->setToolTip(TransferTypeColumn, tr("Click to choose which transfer types are shown"));
    m_table->header()->setSectionsClickable(true);
    m_table->header()->setSectionsMovable(false);
    const std::array<int, PacketColumnCount> characters{15, 12, 7, 11, 12, 11, 9, 29, 32, 84};
    // In a Chinese font the average is the width of an ideograph.
    const int letterWidth =
        std::min(fontMetrics().averageCharWidth(), fontMetrics().horizontalAdvance(QLatin1Char('x')));
    for (int column = 0; column < PacketColumnCount; ++column)
        m_table->header()->resizeSection(column, letterWidth * characters[column]);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeButtons());
    layout->addWidget(m_table);
    layout->addWidget(m_statusLabel);
    resize(QSize(1440, 680).boundedTo(QGuiApplication::primaryScreen()->availableSize() * 0.95));

    connect(m_table, &QTreeWidget::itemClicked, this, &UsbIPCaptureDialog::onPacketItemClicked);
    connect(m_table->header(), &QHeaderView::sectionClicked, this, &UsbIPCaptureDialog::onHeaderSectionClicked);
    connect(&m_savingTimer, &QTimer::timeout, this, &UsbIPCaptureDialog::showSaving);
    connectClient();
    showStatus(tr("Connecting to USBIP capture daemon..."));
    m_client.setServerName(UsbIPCaptureClient::serverNameOf(processId));
    m_client.connectToServer();
}

UsbIPCaptureDialog::~UsbIPCaptureDialog()
{
    m_client.disconnect(this);
    // Freeing a million packets takes its time, which other windows of the program must not feel.
    if (QThread::currentThread()->loopLevel() > 0)
        PacketRows::freeInSlices(std::move(m_rows), m_client.takePackets());
    else
        m_table->removeRows(); // they refer to packets of this window
}

QWidget* UsbIPCaptureDialog::makeButtons()
{
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    const auto addButton = [this, layout](const QString& text, void (UsbIPCaptureDialog::*slot)()) {
        auto* button = new QPushButton(text, this);
        button->setAutoDefault(false);
        button->setMinimumWidth(button->sizeHint().width() + 3 * fontMetrics().averageCharWidth());
        connect(button, &QPushButton::clicked, this, slot);
        layout->addWidget(button);
        return button;
    };
    m_startButton = addButton(tr("Start Capture"), &UsbIPCaptureDialog::onStartCapture);
    m_stopButton = addButton(tr("Stop Capture"), &UsbIPCaptureDialog::onStopCapture);
    addButton(tr("Clear"), &UsbIPCaptureDialog::onClearCapture);
    layout->addStretch();
    m_saveButton = addButton(tr("Save Capture..."), &UsbIPCaptureDialog::saveOrCancel);
    addButton(tr("Device Configuration"), &UsbIPCaptureDialog::onShowDeviceConfig);
    m_startButton->setEnabled(false);
    m_stopButton->setEnabled(false);
    m_saveButton->setEnabled(false);
    return bar;
}

void UsbIPCaptureDialog::connectClient()
{
    using Client = UsbIPCaptureClient;
    using Dialog = UsbIPCaptureDialog;
    connect(&m_client, &Client::connected, this, &Dialog::onConnected);
    connect(&m_client, &Client::disconnected, this, &Dialog::onDisconnected);
    connect(&m_client, &Client::connectionError, this, &Dialog::onConnectionError);
    connect(&m_client, &Client::captureStarted, this, &Dialog::onCaptureStarted);
    connect(&m_client, &Client::captureStopped, this, &Dialog::onCaptureStopped);
    connect(&m_client, &Client::captureCleared, this, &Dialog::onCaptureCleared);
    connect(&m_client, &Client::packetCaptured, this, &Dialog::onPacketCaptured);
    connect(&m_client, &Client::statsUpdated, this, &Dialog::onStatsUpdated);
    connect(&m_client, &Client::deviceConfigReceived, this, &Dialog::onDeviceConfigReceived);
}

// What a device process says may be of any length and have any number of lines; the label has one.
void UsbIPCaptureDialog::showStatus(const QString& text)
{
    constexpr int kLongest = 500; // characters
    QString line = text.left(kLongest);
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    m_statusLabel->setText(line);
}

void UsbIPCaptureDialog::setCapturing(bool capturing)
{
    m_capturing = capturing;
    m_startButton->setEnabled(!capturing);
    m_stopButton->setEnabled(capturing);
}

void UsbIPCaptureDialog::onStartCapture()
{
    if (!m_client.startCapture()) {
        m_prompter.warning(this, tr("Capture Error"), tr("Failed to start capture. Please check daemon connection."));
        return;
    }
    setCapturing(true);
    showStatus(tr("Starting capture..."));
}

void UsbIPCaptureDialog::onStopCapture()
{
    if (!m_client.stopCapture()) {
        m_prompter.warning(this, tr("Capture Error"), tr("Failed to stop capture. Please check daemon connection."));
        return;
    }
    setCapturing(false);
    showStatus(tr("Stopping capture..."));
}

void UsbIPCaptureDialog::onClearCapture()
{
    if (!m_client.clearCapture()) {
        m_prompter.warning(this, tr("Clear Error"), tr("Failed to clear capture. Please check daemon connection."));
        return;
    }
    showStatus(tr("Capture cleared"));
}

void UsbIPCaptureDialog::onShowDeviceConfig()
{
    if (!m_client.requestDeviceConfig()) {
        m_prompter.warning(this, tr("Device Configuration"),
                           tr("Failed to request device configuration. Please check daemon connection."));
        return;
    }
    showStatus(tr("Requesting device configuration..."));
}

// Runs below the socket's handler: a box waits for a later turn of the event loop, or no packet would arrive meanwhile.
void UsbIPCaptureDialog::onDeviceConfigReceived(QJsonObject config)
{
    if (config.isEmpty()) {
        showStatus(tr("No configuration available"));
        QTimer::singleShot(0, this, [this] {
            m_prompter.information(this, tr("Device Configuration"),
                                   tr("No configuration information available for this device."));
        });
        return;
    }
    const QString title = m_deviceId == 0 ? tr("Process %1").arg(m_processId) : tr("Device %1").arg(m_deviceId);
    auto* viewer = new DeviceConfigDialog(config, title, this, m_prompter);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    viewer->show();
    showStatus(tr("Device configuration displayed"));
}

void UsbIPCaptureDialog::onPacketCaptured(uint32_t, UsbIPPacketInfo packet)
{
    if (std::none_of(m_shownTypes.begin(), m_shownTypes.end(), [](bool shown) { return shown; }))
        m_shownTypes.fill(true);
    m_rows->add(std::move(packet));
    m_saveButton->setEnabled(true);
    if (m_followNewest)
        m_table->scrollToNewest();
}

bool UsbIPCaptureDialog::isShown(const UsbIPPacketInfo& packet) const
{
    return packet.transferType < m_shownTypes.size() && m_shownTypes[packet.transferType] &&
           (!m_rowFilter || m_rowFilter(packet));
}

void UsbIPCaptureDialog::rebuildTable()
{
    m_rows->rebuild();
    if (m_followNewest)
        m_table->scrollToNewest();
}

void UsbIPCaptureDialog::setRowFilter(RowFilter filter)
{
    m_rowFilter = std::move(filter);
    rebuildTable();
}

void UsbIPCaptureDialog::setPackets(PacketList packets)
{
    m_rows->replace(std::move(packets));
    showSaving();
    if (m_followNewest)
        m_table->scrollToNewest();
}

void UsbIPCaptureDialog::askAndSave()
{
    if (m_saving)
        return;
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    const QString path = m_prompter.saveFile(
        this, tr("Save Capture"), folder.filePath(QStringLiteral("capture.pcapng")), tr("Captures (*.pcapng)"));
    if (!path.isEmpty())
        startSaving(path);
}

void UsbIPCaptureDialog::startSaving(const QString& path)
{
    // Saving goes on when the window is closed meanwhile, and the program waits for it before it ends.
    m_saving = new CaptureSaving(m_rows->sharedPackets(), path);
    m_saving->setParent(QCoreApplication::instance());
    connect(m_saving, &CaptureSaving::finished, this, &UsbIPCaptureDialog::onSaved);
    connect(m_saving, &CaptureSaving::finished, m_saving, &QObject::deleteLater);
    m_savingTimer.start(kSavingInterval);
    showSaving();
}

void UsbIPCaptureDialog::onSaved(bool saved, const QString& error)
{
    m_saving = nullptr;
    m_savingTimer.stop();
    showSaving();
    if (!error.isEmpty())
        m_prompter.warning(this, tr("Error"), tr("The capture could not be saved: %1").arg(error));
    else
        showStatus(saved ? tr("Capture saved") : tr("Saving cancelled"));
}

void UsbIPCaptureDialog::showSaving()
{
    m_saveButton->setText(m_saving ? tr("Cancel Saving (%1%)").arg(m_saving->percentDone()) : tr("Save Capture..."));
    m_saveButton->setEnabled(m_saving || !packets().empty());
}

void UsbIPCaptureDialog::saveOrCancel()
{
    if (m_saving)
        m_saving->cancel();
    else
        askAndSave();
}

void UsbIPCaptureDialog::onHeaderSectionClicked(int logicalIndex)
{
    if (logicalIndex != TransferTypeColumn)
        return;
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const std::array<QString, 4> names{tr("Control (CTL)"), tr("Isochronous (ISO)"), tr("Bulk (BLK)"),
                                       tr("Interrupt (INT)")};
    for (int type = 0; type < int(names.size()); ++type) {
        QAction* action = menu->addAction(names[type]);
        action->setCheckable(true);
        action->setChecked(m_shownTypes[type]);
        connect(action, &QAction::triggered, this, [this, type] { toggleTransferType(type); });
    }
    menu->popup(QCursor::pos());
}

void UsbIPCaptureDialog::toggleTransferType(int type)
{
    m_shownTypes[type] = !m_shownTypes[type];
    rebuildTable();
    showFilterStatus();
}

void UsbIPCaptureDialog::showFilterStatus()
{
    QStringList names;
    for (int type = 0; type < int(m_shownTypes.size()); ++type) {
        if (m_shownTypes[type])
            names << transferTypeName(type);
    }
    if (names.size() == int(m_shownTypes.size()))
        showStatus(tr("Showing all packet types"));
    else
        showStatus(tr("Filtering by: %1").arg(names.join(QStringLiteral(", "))));
}

void UsbIPCaptureDialog::onPacketItemClicked(QTreeWidgetItem* item, int)
{
    if (!item)
        return;
    if (!m_details)
        m_details = new PacketDetailsDialog(this);
    const QVariant carried = item->data(0, Qt::UserRole);
    if (carried.canConvert<UsbIPPacketInfo>()) {
        const auto packet = carried.value<UsbIPPacketInfo>();
        m_table->setHighlight(packet.sequenceNumber, static_cast<std::uint32_t>(packets().size()));
        m_details->showPacket(packet);
    } else {
        m_details->showNothing();
    }
    m_details->show();
    m_details->raise();
    emit detailsShown(m_details);
}

void UsbIPCaptureDialog::onStatsUpdated(CaptureStats stats)
{
    m_stats = stats;
    updateStatistics();
}

void UsbIPCaptureDialog::updateStatistics()
{
    if (m_capturing)
        showStatus(tr("Capturing... Total: %1 packets (Req: %2, Rep: %3)")
                       .arg(m_stats.total_packets)
                       .arg(m_stats.request_packets)
                       .arg(m_stats.reply_packets));
    else
        showStatus(tr("Ready. Total: %1 packets captured").arg(m_stats.total_packets));
}

void UsbIPCaptureDialog::onConnected()
{
    showStatus(tr("Connected to USBIP capture daemon"));
    m_startButton->setEnabled(true);
}

void UsbIPCaptureDialog::onDisconnected()
{
    m_capturing = false;
    m_startButton->setEnabled(false);
    m_stopButton->setEnabled(false);
    showStatus(tr("Disconnected from USBIP capture daemon"));
}

void UsbIPCaptureDialog::onConnectionError(QString error)
{
    showStatus(tr("Connection error: ") + error);
}

void UsbIPCaptureDialog::onCaptureStarted(uint32_t)
{
    showStatus(tr("Capture started successfully"));
}

void UsbIPCaptureDialog::onCaptureStopped(uint32_t)
{
    setCapturing(false);
    showStatus(tr("Capture stopped successfully"));
}

void UsbIPCaptureDialog::onCaptureCleared()
{
    setPackets({});
    showStatus(tr("Capture cleared successfully"));
}

void UsbIPCaptureDialog::reject()
{
    if (isWindow()) // as part of another window it has nothing to close
        QDialog::reject();
}
