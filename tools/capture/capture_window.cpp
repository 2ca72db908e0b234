#include "tools/capture/capture_window.h"

#include "capture/decode/counterpart.h"
#include "capture/decode/packet_columns.h"
#include "capture/decode/timing_columns.h"
#include "capture/view/details_view.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeWidget>

#include <algorithm>

namespace {

constexpr int kLossInterval = 500; // ms between updates of the count
constexpr int kMeaningColumn = PacketColumnCount + static_cast<int>(AnalysisColumn::Meaning);

} // namespace

CaptureWindow::CaptureWindow(const CaptureTarget& target, Prompter& prompter)
    : m_prompter(prompter)
    , m_target(target)
    , m_pane(new CapturePane({target.processId, target.deviceId, {PacketPane::WhenNoTypeIsOn::ShowAll, true}}, prompter,
                             this))
{
    setCentralWidget(m_pane);
    makeDetails();
    makeMenus();
    makeToolBar();
    watchLosses();
    applyFilter();
    connect(m_pane, &CapturePane::contentChanged, this, &CaptureWindow::showContent);
    showContent();
    resize(QSize(1440, 900).boundedTo(screen()->availableSize() * 0.95));
}

void CaptureWindow::makeDetails()
{
    m_detailsDock = new QDockWidget(tr("Packet Details"), this);
    m_detailsDock->setObjectName(QStringLiteral("details"));
    m_details = new DetailsView(m_detailsDock);
    m_detailsDock->setWidget(m_details);
    addDockWidget(Qt::BottomDockWidgetArea, m_detailsDock);
    auto* copy = new QAction(tr("&Copy Value"), m_details->tree());
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, m_details, [this] {
        if (const QTreeWidgetItem* item = m_details->tree()->currentItem())
            QApplication::clipboard()->setText(item->text(1));
    });
    m_details->tree()->addAction(copy);
    m_details->tree()->setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(&m_pane->packets(), &PacketPane::packetChosen, this,
            [this](const std::optional<UsbIPPacketInfo>& packet, const PacketContext& context) {
                if (packet)
                    m_details->showPacket(*packet, context);
            });
}

void CaptureWindow::makeMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open Capture..."), this, &CaptureWindow::askAndOpen, QKeySequence::Open);
    file->addAction(
        tr("&Save Capture As..."), this, [this] { m_pane->askAndSave(); }, QKeySequence::Save);
    m_live = file->addAction(tr("&Live Capture"), m_pane, &CapturePane::showLive);
    m_live->setToolTip(tr("Goes back from the file to the packets of the device process"));
    file->addSeparator();
    file->addAction(tr("&Close"), this, &QWidget::close, QKeySequence::Close);

    auto* copy = new QAction(tr("&Copy Row"), &table());
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
    connect(m_follow, &QAction::toggled, &m_pane->packets(), &PacketPane::setFollowNewest);
    QMenu* packets = menuBar()->addMenu(tr("&Packets"));
    packets->addActions({copy, m_jump, m_follow});
    packets->addAction(
        tr("F&ind..."), this, [this] { m_find->setFocus(); }, QKeySequence::Find);
    packets->addAction(
        tr("Find &Next"), this, [this] { findAgain(PacketSearch::Direction::Next); }, QKeySequence::FindNext);
    packets->addAction(
        tr("Find Pre&vious"), this, [this] { findAgain(PacketSearch::Direction::Previous); },
        QKeySequence::FindPrevious);
    packets->addSeparator();
    packets->addAction(m_detailsDock->toggleViewAction());
    table().addActions({copy, m_jump});
    table().setContextMenuPolicy(Qt::ActionsContextMenu);
}

void CaptureWindow::makeToolBar()
{
    QToolBar* bar = addToolBar(tr("Packets"));
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    // A search may go on in packets that are no longer shown.
    const auto meaning = [this](const PacketView& packet) {
        return packet.number < m_pane->packets().end() ? table().textAt(packet.number, kMeaningColumn) : QString();
    };
    m_filter = new FilterEdit(meaning, this);
    connect(m_filter, &FilterEdit::filterChanged, this, [this](const PacketFilter& filter) {
        m_wanted = filter;
        applyFilter();
    });
    m_find = new FilterEdit(meaning, this);
    m_find->setPlaceholderText(tr("Find: as in the filter"));
    connect(m_find, &FilterEdit::filterChanged, this, [this](const PacketFilter& filter) { m_sought = filter; });
    connect(m_find, &QLineEdit::returnPressed, this, [this] { findAgain(PacketSearch::Direction::Next); });
    for (FilterEdit* edit : {m_filter, m_find}) {
        // The hint fits beside the clear button.
        edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(edit->placeholderText()) +
                              2 * edit->sizeHint().height());
        connect(edit, &FilterEdit::explained, this, [this](const QString& error) { statusBar()->showMessage(error); });
    }
    connect(&m_search, &PacketSearch::found, this, &CaptureWindow::select);
    connect(&m_search, &PacketSearch::foundNothing, this,
            [this] { statusBar()->showMessage(tr("No such packet."), 4000); });
    auto* label = new QLabel(tr("F&ilter:"), this);
    label->setBuddy(m_filter);
    label->setContentsMargins(6, 0, 6, 0);
    bar->addWidget(label);
    bar->addWidget(m_filter);
    bar->addSeparator();
    bar->addWidget(m_find);
    bar->addSeparator();
    bar->addActions({m_follow, m_jump});
    m_countLabel = new QLabel(this);
    statusBar()->addPermanentWidget(m_countLabel);
}

void CaptureWindow::watchLosses()
{
    m_lossLabel = new QLabel(lossText(), this);
    m_lossLabel->setToolTip(
        tr("Cut: packets that hold less data than their transfer carried. Dropped: packets that the "
           "device process counted and that did not arrive, and messages that could not be read."));
    statusBar()->addPermanentWidget(m_lossLabel);
    UsbIPCaptureClient& client = m_pane->client();
    connect(&client, &UsbIPCaptureClient::packetCaptured, this,
            [this](uint32_t, const UsbIPPacketInfo& packet) { m_losses.addPacket(packet); });
    connect(&client, &UsbIPCaptureClient::statsUpdated, this,
            [this](const CaptureStats& stats) { m_losses.addStats(stats); });
    connect(&client, &UsbIPCaptureClient::connected, this, [this] { m_losses.restart(); });
    connect(&client, &UsbIPCaptureClient::captureCleared, this, [this] { m_losses.restart(); });
    connect(&m_lossTimer, &QTimer::timeout, this, [this] {
        countFileLosses();
        m_lossLabel->setText(lossText());
        m_countLabel->setText(countText());
    });
    m_lossTimer.start(kLossInterval);
}

void CaptureWindow::countFileLosses()
{
    constexpr std::size_t kAtOnce = 200'000; // packets, about 10 ms
    if (!m_pane->showsFile())
        return;
    PacketReader reader(m_pane->packets().store());
    const std::size_t end = std::min(m_pane->packets().end(), m_fileCounted + kAtOnce);
    for (; m_fileCounted < end; ++m_fileCounted)
        m_fileLosses.addPacket(reader.read(m_fileCounted));
}

QString CaptureWindow::lossText() const
{
    if (m_pane->showsFile())
        return tr("Cut: %1").arg(m_fileLosses.cut());
    return tr("Cut: %1   Dropped: %2").arg(m_losses.cut()).arg(m_losses.dropped() + m_pane->client().refusedMessages());
}

void CaptureWindow::setFilterText(const QString& text)
{
    m_filter->setText(text);
}

void CaptureWindow::applyFilter()
{
    const uint32_t device = m_target.deviceId;
    if (device == 0)
        return m_pane->packets().setFilter(m_wanted.wants, m_wanted.asksMeaning);
    const auto wants = [wants = m_wanted.wants, device](const PacketView& packet) {
        return packet.deviceId == device && (!wants || wants(packet));
    };
    m_pane->packets().setFilter(wants, m_wanted.asksMeaning);
}

void CaptureWindow::find(const QString& text, PacketSearch::Direction direction)
{
    m_find->setText(text);
    findAgain(direction);
}

// Only among packets that have a row, or could have one.
void CaptureWindow::findAgain(PacketSearch::Direction direction)
{
    PacketPane& packets = m_pane->packets();
    if (!m_sought.wants || packets.isEmpty())
        return;
    const bool next = direction == PacketSearch::Direction::Next;
    const std::size_t from = currentRow() ? currentRow()->number() : next ? packets.end() - 1 : packets.first();
    m_search.start(packets.store(), packets.first(), packets.end(), from, direction, m_sought,
                   [this](const PacketView& packet) { return m_pane->packets().wants(packet); });
}

void CaptureWindow::select(std::size_t number)
{
    PacketItem* row = m_pane->packets().rowOf(number);
    if (!row)
        return;
    m_follow->setChecked(false);
    table().setCurrentItem(row);
    m_pane->packets().choose(row);
}

QString CaptureWindow::countText() const
{
    PacketPane& packets = m_pane->packets();
    const QString all = QString::number(packets.end() - packets.first());
    return packets.isReplacingRows() ? tr("... of %1 packets").arg(all)
                                     : tr("%1 of %2 packets").arg(packets.shownCount()).arg(all);
}

PacketItem* CaptureWindow::currentRow() const
{
    return static_cast<PacketItem*>(m_pane->packets().table().currentItem());
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
    PacketPane& packets = m_pane->packets();
    PacketReader reader(packets.store());
    const std::optional<std::size_t> other =
        counterpartOf(reader, packets.first(), packets.end(), row->number(), packets.end());
    if (!other || !packets.rowOf(*other))
        return false;
    select(*other);
    return true;
}

void CaptureWindow::openCapture(const QString& path)
{
    if (m_pane->mayLeavePackets(tr("Captured packets are in no file yet. Open another capture all the same?")))
        m_pane->openFile(path);
}

void CaptureWindow::askAndOpen()
{
    const QString path = m_prompter.openFile(this, tr("Open Capture"), QString(),
                                             tr("Captures (*.pcapng *.pcap *.usbpcap *.txt *.mon);;All files (*)"));
    if (!path.isEmpty())
        openCapture(path);
}

void CaptureWindow::closeEvent(QCloseEvent* event)
{
    event->setAccepted(m_pane->mayLeavePackets(tr("Captured packets are in no file yet. Close all the same?")));
}

void CaptureWindow::showContent()
{
    m_fileLosses.reset();
    m_fileCounted = 0;
    countFileLosses();
    m_lossLabel->setText(lossText());
    m_live->setEnabled(m_pane->showsFile() && m_target.processId != 0);
    if (m_pane->showsFile())
        setWindowTitle(tr("%1 - USB Packet Capture").arg(QFileInfo(m_pane->filePath()).fileName()));
    else if (m_target.processId != 0)
        setWindowTitle(tr("USB Packet Capture - Process %1").arg(m_target.processId));
    else
        setWindowTitle(tr("USB Packet Capture"));
}
