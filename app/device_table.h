// device_table.h: the table of virtual devices, one row each, never fewer than ten rows.
#pragma once

#include <QIcon>
#include <QTableWidget>

#include <optional>
#include <vector>

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

    /// Fills the first row whose first cell is missing or empty, else a new one, and returns its number. Texts beyond
    /// the columns are dropped, and so is what a text has beyond 1,000 letters; each cell has its text as tool tip; the
    /// icon, if any, goes into the first cell. The type is shown by its caption in the window's language (see
    /// deviceTypeCaption()), and no text shows characters that would change how its row reads (see shownText()).
    int addDevice(const QStringList& cells, const QIcon& icon = {});

    /// Dims the row of a device that has ended, or undims it.
    void setEnded(int row, bool ended);
    bool isEnded(int row) const;

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

    /// Rows that stand for a device.
    std::vector<int> deviceRows() const;

    /// The selected row, -1 when none is.
    int selectedRow() const;

    /// What the user looks at: the selected device's cell, and how far the table is scrolled.
    struct View
    {
        std::optional<Identity> selected;
        int column = 0;
        int scrolled = 0;
    };
    View view() const;

    /// Selects that device where it is now, if it is still there, and scrolls as far as before.
    void setView(const View& view);

    /// Whether a row stands for the device of that process.
    bool hasProcess(qint64 processId) const;

    /// Texts of a row's cells as addDevice() got them, in whatever language they are shown; a missing cell as an empty
    /// text.
    QStringList cellTexts(int row) const;

protected:
    /// Shows tool tips letter by letter: a device's name may look like markup.
    bool viewportEvent(QEvent* event) override;

    /// Shows the tool tip of a cell whose text is cut when the keyboard reaches the cell, too.
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::optional<int> rowOf(const QString& processId) const;
    void showToolTip(const QTableWidgetItem* cell, const QPoint& place);
    int firstFreeRow();

    int m_filledRows = 0; ///< from the top; their first cells have texts
};
