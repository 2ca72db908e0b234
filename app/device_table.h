// device_table.h: the table of virtual devices, one row each, never fewer than ten rows.
#pragma once

#include <QIcon>
#include <QTableWidget>

#include <optional>

class DeviceTable : public QTableWidget
{
    Q_OBJECT

public:
    static constexpr int kColumns = 6;
    static constexpr int kMinimumRows = 10;
    static constexpr int kNameColumn = 0;
    static constexpr int kPidColumn = 1;
    static constexpr int kTypeColumn = 5;

    explicit DeviceTable(QWidget* parent = nullptr);

    /// Fills the first row whose first cell is missing or empty, else a new one. Texts beyond the columns are dropped,
    /// and so is what a text has beyond 1,000 letters; each cell has its text as tool tip; the icon, if any, goes into
    /// the first cell. The type is shown by its caption in the window's language (see deviceTypeCaption()).
    void addDevice(const QStringList& cells, const QIcon& icon = {});

    /// Empties the table and gives it its ten rows; the headers stay.
    void clearDevices();

    /// Takes a row out and keeps at least ten.
    void removeDevice(int row);

    /// What identifies a row's device, as its cells say it; nothing when one of the two cells is missing.
    struct Identity
    {
        QString name;
        QString processId;
    };
    std::optional<Identity> identityAt(int row) const;

    /// The selected row, -1 when none is.
    int selectedRow() const;

    /// Texts of a row's cells as addDevice() got them, in whatever language they are shown; a missing cell as an empty
    /// text.
    QStringList cellTexts(int row) const;

protected:
    /// Shows tool tips letter by letter: a device's name may look like markup.
    bool viewportEvent(QEvent* event) override;

    /// Who goes from cell to cell by keyboard sees the tool tip of each whose text is cut, as the pointer would.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showToolTip(const QTableWidgetItem* cell, const QPoint& place);
    int firstFreeRow();
};
