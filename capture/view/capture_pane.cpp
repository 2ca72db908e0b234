#include "capture/view/capture_pane.h"

#include "capture/file/file_job.h"
#include "capture/view/device_config_dialog.h"

#include <QCoreApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace {

constexpr int kUpdateInterval = 250; // ms between updates of how far a file has come and of the memory in use

QString mebibytes(qint64 bytes)
{
    return QString::number((bytes + (1 << 20) - 1) >> 20);
}

} // namespace

CapturePane::CapturePane(const Options& options, Prompter& prompter, QWidget* parent)
    : QWidget(parent)
    , m_prompter(prompter)
    , m_options(options)
    , m_statusLabel(new QLabel(this))
    , m_memoryLabel(new QLabel(this))
    , m_packets(new PacketPane(options.packets, this))
{
    m_statusLabel->setTextFormat(Qt::PlainText);
    m_statusLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_memoryLabel->setToolTip(tr("Captured packets beyond this budget go to a temporary file, oldest first. "
                                 "None is dropped."));
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_statusLabel, 1);
    bottom->addWidget(m_memoryLabel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeButtons(options.processId != 0));
    layout->addWidget(m_packets);
    layout->addLayout(bottom);

    m_packets->showStore(m_client.store());
    connectClient();
    connect(m_packets, &PacketPane::typesChanged, this, &CapturePane::showStatus);
    connect(&m_updates, &QTimer::timeout, this, &CapturePane::showJob);
    m_updates.start(kUpdateInterval);
    showJob();
    if (options.processId == 0)
        return;
    showStatus(tr("Connecting to USBIP capture daemon..."));
    m_client.setServerProcess(options.processId);
    m_client.connectToServer();
}

CapturePane::~CapturePane()
{
    m_client.disconnect(this);
    if (m_job && !m_jobIsSaving)
        m_job->cancel(); // nobody waits for what it reads; saving goes on
}

QWidget* CapturePane::makeButtons(bool live)
{
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    const auto addButton = [this, layout](const QString& text, void (CapturePane::*slot)(), bool shown) {
        auto* button = new QPushButton(text, this);
        button->setAutoDefault(false);
        button->setMinimumWidth(button->sizeHint().width() + 3 * fontMetrics().averageCharWidth());
        connect(button, &QPushButton::clicked, this, slot);
        layout->addWidget(button);
        button->setVisible(shown);
        return button;
    };
    m_startButton = addButton(tr("Start Capture"), &CapturePane::startCapture, live);
    m_stopButton = addButton(tr("Stop Capture"), &CapturePane::stopCapture, live);
    addButton(tr("Clear"), &CapturePane::clearCapture, live);
    layout->addStretch();
    m_saveButton = addButton(tr("Save Capture..."), &CapturePane::saveOrCancel, true);
    addButton(tr("Device Configuration"), &CapturePane::requestConfig, live);
    m_startButton->setEnabled(false);
    m_stopButton->setEnabled(false);
    return bar;
}

void CapturePane::connectClient()
{
    using Client = UsbIPCaptureClient;
    using Pane = CapturePane;
    connect(&m_client, &Client::connected, this, &Pane::onConnected);
    connect(&m_client, &Client::disconnected, this, &Pane::onDisconnected);
    connect(&m_client, &Client::connectionError, this, &Pane::onConnectionError);
    connect(&m_client, &Client::captureStarted, this, &Pane::onStarted);
    connect(&m_client, &Client::captureStopped, this, &Pane::onStopped);
    connect(&m_client, &Client::captureCleared, this, &Pane::onCleared);
    connect(&m_client, &Client::packetCaptured, this,
            [this](uint32_t, const UsbIPPacketInfo& packet) { takePacket(packet); });
    connect(&m_client, &Client::statsUpdated, this, &Pane::setStats);
    connect(&m_client, &Client::deviceConfigReceived, this, &Pane::showConfig);
}

// What a device process says may be of any length and have any number of lines; the label has one.
void CapturePane::showStatus(const QString& text)
{
    constexpr int kLongest = 500; // characters
    QString line = text.left(kLongest);
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    m_statusLabel->setText(line);
}

void CapturePane::setCapturing(bool capturing)
{
    m_capturing = capturing;
    m_startButton->setEnabled(!capturing);
    m_stopButton->setEnabled(capturing);
}

void CapturePane::startCapture()
{
    if (!m_client.startCapture()) {
        m_prompter.warning(this, tr("Capture Error"), tr("Failed to start capture. Please check daemon connection."));
        return;
    }
    setCapturing(true);
    showStatus(tr("Starting capture..."));
}

void CapturePane::stopCapture()
{
    if (!m_client.stopCapture()) {
        m_prompter.warning(this, tr("Capture Error"), tr("Failed to stop capture. Please check daemon connection."));
        return;
    }
    setCapturing(false);
    showStatus(tr("Stopping capture..."));
}

void CapturePane::clearCapture()
{
    if (!m_client.clearCapture()) {
        m_prompter.warning(this, tr("Clear Error"), tr("Failed to clear capture. Please check daemon connection."));
        return;
    }
    showStatus(tr("Capture cleared"));
}

void CapturePane::requestConfig()
{
    if (!m_client.requestDeviceConfig()) {
        m_prompter.warning(this, tr("Device Configuration"),
                           tr("Failed to request device configuration. Please check daemon connection."));
        return;
    }
    showStatus(tr("Requesting device configuration..."));
}

void CapturePane::showConfig(const QJsonObject& config)
{
    if (config.isEmpty())
        return showNoConfig();
    const qint64 processId = m_options.processId;
    const QString title =
        m_options.deviceId == 0 ? tr("Process %1").arg(processId) : tr("Device %1").arg(m_options.deviceId);
    delete m_configViewer; // one that is still open shows an older answer
    m_configViewer = new DeviceConfigDialog(config, title, this, m_prompter);
    m_configViewer->setAttribute(Qt::WA_DeleteOnClose);
    m_configViewer->show();
    showStatus(tr("Device configuration displayed"));
}

// Runs below the socket's handler: a box waits for a later turn of the event loop, or no packet would arrive meanwhile.
void CapturePane::showNoConfig()
{
    showStatus(tr("No configuration available"));
    if (std::exchange(m_boxPending, true))
        return;
    QTimer::singleShot(0, this, [this] {
        m_prompter.information(this, tr("Device Configuration"),
                               tr("No configuration information available for this device."));
        m_boxPending = false;
    });
}

// The client has stored what it reports; a packet from elsewhere is stored here.
void CapturePane::takePacket(const UsbIPPacketInfo& packet)
{
    PacketStore& store = *m_client.store();
    const bool live = !showsFile();
    if (live && m_packets->end() == store.size())
        store.append(packet);
    if (!live)
        return;
    m_packets->addNext();
    m_saveButton->setEnabled(true);
}

void CapturePane::setStats(const CaptureStats& stats)
{
    m_stats = stats;
    showStats();
}

void CapturePane::showStats()
{
    if (m_capturing)
        showStatus(tr("Capturing... Total: %1 packets (Req: %2, Rep: %3)")
                       .arg(m_stats.total_packets)
                       .arg(m_stats.request_packets)
                       .arg(m_stats.reply_packets));
    else
        showStatus(tr("Ready. Total: %1 packets captured").arg(m_stats.total_packets));
}

void CapturePane::onConnected()
{
    showStatus(tr("Connected to USBIP capture daemon"));
    m_startButton->setEnabled(true);
}

void CapturePane::onDisconnected()
{
    m_capturing = false;
    m_startButton->setEnabled(false);
    m_stopButton->setEnabled(false);
    showStatus(tr("Disconnected from USBIP capture daemon"));
}

void CapturePane::onConnectionError(const QString& error)
{
    showStatus(tr("Connection error: ") + error);
}

void CapturePane::onStarted()
{
    showStatus(tr("Capture started successfully"));
}

void CapturePane::onStopped()
{
    setCapturing(false);
    showStatus(tr("Capture stopped successfully"));
}

void CapturePane::onCleared()
{
    m_liveFirst = m_client.store()->size();
    m_safeUpTo = m_liveFirst;
    if (!showsFile())
        showLive();
    showStatus(tr("Capture cleared successfully"));
}

void CapturePane::showLive()
{
    m_filePath.clear();
    m_packets->showStore(m_client.store(), m_liveFirst);
    showJob();
    emit contentChanged();
}

bool CapturePane::mayLeavePackets(const QString& question)
{
    const std::size_t end = m_client.store()->size();
    if (std::exchange(m_safeUpTo, end) >= end)
        return true;
    return m_prompter.question(this, tr("Unsaved Packets"), question);
}

void CapturePane::askAndSave()
{
    if (m_job)
        return;
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    const QString path = m_prompter.saveFile(
        this, tr("Save Capture"), folder.filePath(QStringLiteral("capture.pcapng")),
        tr("Captures (*.pcapng);;pcap with records of Linux (*.pcap);;pcap with records of Windows (*.usbpcap);;"
           "usbmon text (*.txt);;usbmon records (*.mon)"));
    if (!path.isEmpty() && !m_job)
        startSaving(path);
}

void CapturePane::startSaving(const QString& path)
{
    auto* job = new FileJob(savingWork(m_packets->store(), m_packets->first(), path));
    const std::size_t safe = showsFile() ? m_safeUpTo : m_packets->end();
    connect(job, &FileJob::finished, this, [this, job, safe](const QString& error) {
        if (error.isEmpty() && !job->isCancelled())
            m_safeUpTo = safe;
        onSaved(error, job->isCancelled());
    });
    m_jobIsSaving = true;
    startJob(job);
}

void CapturePane::openFile(const QString& path)
{
    if (m_job)
        return;
    auto store = std::make_shared<PacketStore>();
    auto* job = new FileJob(loadingWork(store, path));
    connect(job, &FileJob::finished, this,
            [this, job, store, path](const QString& error) { onLoaded(store, path, error, job->isCancelled()); });
    m_jobIsSaving = false;
    startJob(job);
}

// A job goes on when the window is closed meanwhile, and the program waits for it before it ends.
void CapturePane::startJob(FileJob* job)
{
    m_job = job;
    job->setParent(QCoreApplication::instance());
    connect(job, &FileJob::finished, job, &QObject::deleteLater);
    showJob();
}

void CapturePane::onSaved(const QString& error, bool cancelled)
{
    m_job = nullptr;
    showJob();
    if (!error.isEmpty())
        m_prompter.warning(this, tr("Error"), tr("The capture could not be saved: %1").arg(error));
    else
        showStatus(cancelled ? tr("Saving cancelled") : tr("Capture saved"));
}

void CapturePane::onLoaded(const std::shared_ptr<PacketStore>& store, const QString& path, const QString& error,
                           bool cancelled)
{
    m_job = nullptr;
    if (store->size() > 0 && !cancelled) {
        m_filePath = path;
        m_packets->showStore(store);
        showStatus(tr("%1 packets of %2").arg(store->size()).arg(QDir::toNativeSeparators(path)));
        emit contentChanged();
    }
    showJob();
    if (cancelled)
        showStatus(tr("Opening cancelled"));
    else if (!error.isEmpty())
        m_prompter.warning(this, tr("Error"), tr("The capture could not be read: %1").arg(error));
}

void CapturePane::showJob()
{
    if (!m_job)
        m_saveButton->setText(tr("Save Capture..."));
    else if (m_jobIsSaving)
        m_saveButton->setText(tr("Cancel Saving (%1%)").arg(m_job->percentDone()));
    else
        m_saveButton->setText(tr("Cancel Opening (%1%)").arg(m_job->percentDone()));
    m_saveButton->setEnabled(m_job || !m_packets->isEmpty());
    m_memoryLabel->setText(memoryText());
}

QString CapturePane::memoryText() const
{
    const PacketStore& store = *m_packets->store();
    const PacketStore::Usage usage = store.usage();
    QString text = tr("Memory: %1 of %2 MiB").arg(mebibytes(usage.memory), mebibytes(store.budget()));
    if (usage.file > 0)
        text += tr(", %1 MiB in a temporary file").arg(mebibytes(usage.file));
    if (!usage.fileError.isEmpty())
        text += tr(" (temporary file: %1)").arg(usage.fileError);
    return text;
}

void CapturePane::saveOrCancel()
{
    if (m_job)
        m_job->cancel();
    else
        askAndSave();
}
