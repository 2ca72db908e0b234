#include "tools/capture/capture_window.h"

#include "capture/packet_columns.h"
#include "capture/packet_details_dialog.h"
#include "capture/pcapng_file.h"
#include "ui/busy_cursor.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

#include <algorithm>

namespace {

constexpr int kLossInterval = 500; // ms between updates of the count

} // namespace

CaptureWindow::CaptureWindow(qint64 processId, uint32_t deviceId, Prompter& prompter)
    : m_prompter(prompter)
    , m_dialog(new UsbIPCaptureDialog(processId, deviceId, nullptr, prompter))
{
    const QSize size = m_dialog->size() + QSize(0, 80); // menus and tool bar
    m_dialog->setParent(this, Qt::Widget);
    setCentralWidget(m_dialog);
    setWindowTitle(m_dialog->windowTitle());
    makeMenus();
    makeToolBar();
    watchLosses();
    connect(m_dialog, &UsbIPCaptureDialog::detailsShown, this, &CaptureWindow::equipDetails);
    resize(size);
}

void CaptureWindow::makeMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open Capture..."), this, &CaptureWindow::askAndOpen, QKeySequence::Open);
    file->addAction(
        tr("&Save Capture As..."), this, [this] { m_dialog->askAndSave(); }, QKeySequence::Save);
    file->addSeparator();
    file->addAction(tr("&Close"), this, &QWidget::close, QKeySequence::Close);

    auto* copy = new QAction(tr("&Copy Row"), &m_dialog->table());
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut); // in the text filter the keys copy text
    connect(copy, &QAction::triggered, this, &CaptureWindow::copyRow);
    m_jump = new QAction(tr("&Jump to Request or Reply"), this);
    m_jump->setShortcut(QKeySequence(QStringLiteral("Ctrl+J")));
    connect(m_jump, &QAction::triggered, this, [this] {
        if (!jumpToCounterpart())
            statusBar()->showMessage(tr("The other packet of this transfer is not in the table."), 4000);
    });
    m_follow = new QAction(tr("&Follow Newest"), this);
    m_follow->setCheckable(true);
    m_follow->setChecked(true);
    m_follow->setToolTip(tr("Scroll to each packet that arrives"));
    connect(m_follow, &QAction::toggled, m_dialog, &UsbIPCaptureDialog::setFollowNewest);
    QMenu* packets = menuBar()->addMenu(tr("&Packets"));
    packets->addActions({copy, m_jump, m_follow});
    m_dialog->table().addActions({copy, m_jump});
    m_dialog->table().setContextMenuPolicy(Qt::ActionsContextMenu);
}

void CaptureWindow::makeToolBar()
{
    QToolBar* bar = addToolBar(tr("Packets"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_filter = new QLineEdit(this);
    m_filter->setPlaceholderText(tr("Show only packets whose details contain..."));
    m_filter->setClearButtonEnabled(true);
    // The hint fits beside the clear button.
    m_filter->setMinimumWidth(m_filter->fontMetrics().horizontalAdvance(m_filter->placeholderText()) +
                              2 * m_filter->sizeHint().height());
    m_filter->setMaximumWidth(
        std::max(m_filter->minimumWidth(), fontMetrics().horizontalAdvance(QLatin1Char('x')) * 60));
    connect(m_filter, &QLineEdit::textChanged, this, &CaptureWindow::setTextFilter);
    auto* label = new QLabel(tr("F&ilter:"), this);
    label->setBuddy(m_filter);
    label->setContentsMargins(6, 0, 6, 0);
    bar->addWidget(label);
    bar->addWidget(m_filter);
    bar->addSeparator();
    bar->addActions({m_follow, m_jump});
}

void CaptureWindow::watchLosses()
{
    m_lossLabel = new QLabel(lossText(), this);
    m_lossLabel->setToolTip(
        tr("Cut: packets that hold less data than their transfer carried. Dropped: packets that the "
           "device process counted and that did not arrive, and messages that could not be read."));
    statusBar()->addPermanentWidget(m_lossLabel);
    UsbIPCaptureClient& client = m_dialog->client();
    connect(&client, &UsbIPCaptureClient::packetCaptured, this,
            [this](uint32_t, const UsbIPPacketInfo& packet) { m_losses.addPacket(packet); });
    connect(&client, &UsbIPCaptureClient::statsUpdated, this,
            [this](const CaptureStats& stats) { m_losses.addStats(stats); });
    connect(&client, &UsbIPCaptureClient::connected, this, [this] { m_losses.restart(); });
    connect(&client, &UsbIPCaptureClient::captureCleared, this, [this] { m_losses.restart(); });
    connect(&m_lossTimer, &QTimer::timeout, this, [this] { m_lossLabel->setText(lossText()); });
    m_lossTimer.start(kLossInterval);
}

QString CaptureWindow::lossText() const
{
    return tr("Cut: %1   Dropped: %2")
        .arg(m_losses.cut())
        .arg(m_losses.dropped() + m_dialog->client().refusedMessages());
}

void CaptureWindow::setTextFilter(const QString& text)
{
    if (text.isEmpty())
        m_dialog->setRowFilter({});
    else
        m_dialog->setRowFilter(
            [text](const UsbIPPacketInfo& packet) { return packet.parsedDetails.contains(text, Qt::CaseInsensitive); });
}

PacketItem* CaptureWindow::currentRow() const
{
    return static_cast<PacketItem*>(m_dialog->table().currentItem());
}

void CaptureWindow::copyRow()
{
    if (const PacketItem* row = currentRow())
        QApplication::clipboard()->setText(packetRowText(row->packet()));
}

bool CaptureWindow::jumpToCounterpart()
{
    const PacketItem* row = currentRow();
    if (!row)
        return false;
    const auto& packets = m_dialog->packets();
    const UsbIPPacketInfo& packet = row->packet();
    const auto isCounterpart = [&packet](const UsbIPPacketInfo& other) {
        return other.sequenceNumber == packet.sequenceNumber && other.deviceId == packet.deviceId &&
               other.isRequest != packet.isRequest;
    };
    // A reply comes after its request: look that way only, nearest first, as numbers can come around again.
    const std::ptrdiff_t step = packet.isRequest ? 1 : -1;
    const auto count = static_cast<std::ptrdiff_t>(packets.size());
    for (std::ptrdiff_t number = std::ptrdiff_t(row->number()) + step; number >= 0 && number < count; number += step) {
        if (!isCounterpart(packets[static_cast<std::size_t>(number)]))
            continue;
        PacketItem* found = m_dialog->rowOf(static_cast<std::size_t>(number));
        if (!found)
            return false;
        m_follow->setChecked(false);
        m_dialog->table().setHighlight(packet.sequenceNumber, static_cast<std::uint32_t>(packets.size()));
        m_dialog->table().setCurrentItem(found);
        return true;
    }
    return false;
}

QString CaptureWindow::openCapture(const QString& path)
{
    const BusyCursor busy;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    PcapngFile::ReadResult result = PcapngFile::read(file);
    if (result.packets.empty() && !result.error.isEmpty())
        return result.error;
    m_losses.reset();
    for (const UsbIPPacketInfo& packet : result.packets)
        m_losses.addPacket(packet);
    m_losses.restart();
    m_dialog->setPackets(std::move(result.packets));
    return result.error;
}

void CaptureWindow::askAndOpen()
{
    const QString path = m_prompter.openFile(this, tr("Open Capture"), QString(), tr("Captures (*.pcapng)"));
    if (path.isEmpty())
        return;
    const QString error = openCapture(path);
    if (!error.isEmpty())
        m_prompter.warning(this, tr("Error"), tr("The capture could not be read: %1").arg(error));
}

void CaptureWindow::equipDetails(PacketDetailsDialog* details)
{
    if (!details->tree()->actions().isEmpty())
        return;
    auto* copy = new QAction(tr("&Copy Value"), details->tree());
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, details, [details] {
        if (const QTreeWidgetItem* item = details->tree()->currentItem())
            QApplication::clipboard()->setText(item->text(1));
    });
    details->tree()->addAction(copy);
    details->tree()->setContextMenuPolicy(Qt::ActionsContextMenu);
}
