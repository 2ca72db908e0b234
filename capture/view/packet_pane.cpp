#include "capture/view/packet_pane.h"

#include "capture/decode/packet_columns.h"
#include "capture/decode/timing_columns.h"

#include <QCursor>
#include <QHeaderView>
#include <QMenu>
#include <QThread>
#include <QVBoxLayout>

#include <algorithm>

PacketPane::PacketPane(const Options& options, QWidget* parent)
    : QWidget(parent)
    , m_options(options)
    , m_table(new PacketTable(this))
    , m_rows(std::make_unique<PacketRows>(*m_table, [this](const PacketView& packet) { return isShown(packet); }))
{
    QStringList labels{tr("Time"),      tr("Sequence"), tr("Kind"),  tr("Endpoint"), tr("Transfer \u25BE"),
                       tr("Direction"), tr("Length"),   tr("Setup"), tr("Data"),     tr("Details")};
    if (options.analysisColumns)
        labels << tr("Status") << tr("Since request (ms)") << tr("Since last (ms)") << tr("Meaning");
    m_table->setHeaderLabels(labels);
    m_table->headerItem()->setToolTip(TransferTypeColumn, tr("Click to choose which transfer types are shown"));
    m_table->header()->setSectionsClickable(true);
    m_table->header()->setSectionsMovable(false);
    const std::array<int, PacketColumnCount> characters{15, 12, 7, 11, 12, 11, 9, 29, 32, 84};
    // In a Chinese font the average is the width of an ideograph.
    const int letterWidth =
        std::min(fontMetrics().averageCharWidth(), fontMetrics().horizontalAdvance(QLatin1Char('x')));
    for (int column = 0; column < PacketColumnCount; ++column)
        m_table->header()->resizeSection(column, letterWidth * characters[static_cast<std::size_t>(column)]);
    for (int column = PacketColumnCount; column < labels.size(); ++column) {
        const bool isMeaning = column - PacketColumnCount == int(AnalysisColumn::Meaning); // beside the details
        m_table->header()->moveSection(column, isMeaning ? column - 1 : LengthColumn + 1 + column - PacketColumnCount);
        m_table->header()->resizeSection(
            column, letterWidth * 4 + (isMeaning ? letterWidth * 36 : fontMetrics().horizontalAdvance(labels[column])));
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_table);
    connect(m_table, &QTreeWidget::itemClicked, this, &PacketPane::choose);
    connect(m_table->header(), &QHeaderView::sectionClicked, this, &PacketPane::clickHeader);
}

PacketPane::~PacketPane()
{
    // Deleting a million rows takes its time, which other windows of the program must not feel.
    if (QThread::currentThread()->loopLevel() > 0)
        PacketRows::freeInSlices(std::move(m_rows));
    else
        m_table->removeRows();
}

void PacketPane::showStore(std::shared_ptr<PacketStore> store, std::size_t first)
{
    m_rows->show(std::move(store), first);
    if (m_followNewest)
        m_table->scrollToNewest();
}

void PacketPane::addNext()
{
    if (std::none_of(m_shownTypes.begin(), m_shownTypes.end(), [](bool shown) { return shown; })) {
        m_shownTypes.fill(true);
        if (m_options.whenNoTypeIsOn == WhenNoTypeIsOn::ShowAll) {
            m_rows->rebuild();
            emit typesChanged(typesText());
        }
    }
    m_rows->addNext();
    if (m_followNewest)
        m_table->scrollToNewest();
}

bool PacketPane::isShown(const PacketView& packet) const
{
    return packet.transferType < m_shownTypes.size() && m_shownTypes[packet.transferType] &&
           (!m_filter || m_filter(packet));
}

void PacketPane::rebuild()
{
    m_rows->rebuild();
    if (m_followNewest)
        m_table->scrollToNewest();
}

void PacketPane::setFilter(Filter filter, bool isSlow)
{
    m_rows->setFilterIsSlow(isSlow);
    m_filter = std::move(filter);
    rebuild();
}

void PacketPane::choose(const QTreeWidgetItem* item)
{
    if (!item)
        return;
    const QVariant carried = item->data(0, Qt::UserRole);
    if (!carried.canConvert<UsbIPPacketInfo>()) {
        emit packetChosen(std::nullopt, {});
        return;
    }
    const auto packet = carried.value<UsbIPPacketInfo>();
    m_table->setHighlight(packet.sequenceNumber, static_cast<std::uint32_t>(end()));
    const auto* row = dynamic_cast<const PacketItem*>(item);
    emit packetChosen(packet, row ? m_table->contextOf(row->number()) : PacketContext());
}

void PacketPane::clickHeader(int section)
{
    if (section == TransferTypeColumn)
        chooseTypes();
}

void PacketPane::chooseTypes()
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const std::array<QString, 4> names{tr("Control (CTL)"), tr("Isochronous (ISO)"), tr("Bulk (BLK)"),
                                       tr("Interrupt (INT)")};
    for (std::size_t type = 0; type < names.size(); ++type) {
        QAction* action = menu->addAction(names[type]);
        action->setCheckable(true);
        action->setChecked(m_shownTypes[type]);
        connect(action, &QAction::triggered, this, [this, type] { toggleType(static_cast<int>(type)); });
    }
    menu->popup(QCursor::pos());
}

void PacketPane::toggleType(int type)
{
    bool& shown = m_shownTypes[static_cast<std::size_t>(type)];
    shown = !shown;
    rebuild();
    emit typesChanged(typesText());
}

QString PacketPane::typesText() const
{
    QStringList names;
    for (std::size_t type = 0; type < m_shownTypes.size(); ++type) {
        if (m_shownTypes[type])
            names << transferTypeName(static_cast<int>(type));
    }
    return names.size() == int(m_shownTypes.size()) ? tr("Showing all packet types")
                                                    : tr("Filtering by: %1").arg(names.join(QStringLiteral(", ")));
}
