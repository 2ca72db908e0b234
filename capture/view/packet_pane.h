// packet_pane.h: the packets of a store as a table that the user filters.
#pragma once

#include "capture/decode/seen_devices.h"
#include "capture/view/packet_rows.h"
#include "capture/view/packet_table.h"

#include <QWidget>

#include <array>
#include <memory>
#include <optional>

/// Shows the packets of a store, of a transfer type that is switched on, that the filter wants. A click paints the
/// packet and its counterpart.
class PacketPane : public QWidget
{
    Q_OBJECT

public:
    using Filter = PacketRows::Filter;

    /// What becomes of the rows when a packet comes while no transfer type is on, which switches all of them on.
    enum class WhenNoTypeIsOn
    {
        AddOne,  ///< its row comes alone
        ShowAll, ///< stored packets get their rows back too
    };

    struct Options
    {
        WhenNoTypeIsOn whenNoTypeIsOn = WhenNoTypeIsOn::AddOne;
        bool analysisColumns = false; ///< columns of status and times behind the others
    };

    explicit PacketPane(const Options& options, QWidget* parent = nullptr);
    ~PacketPane() override;

    PacketTable& table() { return *m_table; }
    const std::shared_ptr<PacketStore>& store() const { return m_rows->store(); }
    /// Numbers of the packets that are shown when no filter hides them.
    std::size_t first() const { return m_rows->first(); }
    std::size_t end() const { return m_rows->end(); }
    bool isEmpty() const { return first() == end(); }

    /// Shows the packets of this store from this number on in place of what was shown.
    void showStore(std::shared_ptr<PacketStore> store, std::size_t first = 0);
    /// Shows the packet at end(), which the store has.
    void addNext();

    /// An empty filter wants all. `isSlow`: it takes several microseconds a packet.
    void setFilter(Filter filter, bool isSlow = false);
    /// Whether the packet has a row, or would have.
    bool wants(const PacketView& packet) const { return isShown(packet); }
    /// Whether a packet that arrives scrolls the table to the bottom; it does unless switched off.
    void setFollowNewest(bool follow) { m_followNewest = follow; }
    /// The row of the packet with this number, null when it is filtered out.
    PacketItem* rowOf(std::size_t number) { return m_rows->rowOf(number); }
    /// What a click on a row does: paints its packet and the counterpart and reports it.
    void choose(const QTreeWidgetItem* item);
    /// What a click on the table's header does.
    void clickHeader(int section);
    /// Rows that there are: of all packets that the filter leaves, once isReplacingRows() is false.
    int shownCount() const { return m_table->topLevelItemCount() - m_table->retiredRows(); }
    /// Whether rows of a long list are still being replaced.
    bool isReplacingRows() const { return m_rows->isBusy(); }

signals:
    /// Nothing for a row that carries no packet. `context`: what other packets say of it.
    void packetChosen(std::optional<UsbIPPacketInfo> packet, PacketContext context);
    /// The user switched a type; `status` says what is shown now.
    void typesChanged(QString status);

private:
    void chooseTypes();
    void toggleType(int type);
    QString typesText() const;
    bool isShown(const PacketView& packet) const;
    void rebuild();

    const Options m_options;
    PacketTable* m_table;
    std::array<bool, 4> m_shownTypes{true, true, true, true};
    Filter m_filter;
    bool m_followNewest = true;
    std::unique_ptr<PacketRows> m_rows;
};
