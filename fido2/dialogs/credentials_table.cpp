#include "fido2/dialogs/credentials_table.h"

#include "fido2/dialogs/credential_texts.h"
#include "runtime/shown_text.h"
#include "ui/plain_tool_tip.h"

#include <QHeaderView>
#include <QJsonObject>
#include <QKeyEvent>
#include <QStyledItemDelegate>

#include <vector>

namespace {

constexpr int kIndexRole = Qt::UserRole; // element of the array
constexpr int kIdColumn = int(CredentialColumn::Id);

/// Key files stand on a line each, which is shortened in its middle: paths differ at their end.
class KeyFilesDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        constexpr int kMargins = 10;
        QStringList lines = index.data().toString().split(QLatin1Char('\n'));
        for (QString& line : lines)
            line = option->fontMetrics.elidedText(line, Qt::ElideMiddle, option->rect.width() - kMargins);
        option->text = lines.join(QChar(QChar::LineSeparator));
        option->features &= ~QStyleOptionViewItem::WrapText;
    }
};

/// Counts are numbers, everything else is in the order of the user's language.
class Cell final : public QTableWidgetItem
{
public:
    using QTableWidgetItem::QTableWidgetItem;

    bool operator<(const QTableWidgetItem& other) const override
    {
        bool isNumber = false;
        bool isOtherNumber = false;
        const double number = text().toDouble(&isNumber);
        const double otherNumber = other.text().toDouble(&isOtherNumber);
        if (column() == int(CredentialColumn::SignatureCount) && (isNumber || isOtherNumber))
            return isNumber && isOtherNumber ? number < otherNumber : isOtherNumber;
        return QString::localeAwareCompare(text(), other.text()) < 0;
    }
};

/// Columns keep their widths, whatever the font: titles take several lines and, where a word is still too wide, a
/// smaller font.
void fitTitles(QHeaderView& header)
{
    constexpr qreal kSmallestFont = 6; // points
    constexpr int kPadding = 8;
    const int margins = 2 * header.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &header) + 2;
    const auto sizeOf = [&header, margins](int section) {
        const QRect room(0, 0, header.sectionSize(section) - margins, 1 << 16);
        const QString title = header.model()->headerData(section, Qt::Horizontal).toString();
        return header.fontMetrics().boundingRect(room, Qt::TextWordWrap, title).size();
    };
    int height = 0;
    for (int section = 0; section < header.count(); ++section) {
        QFont font = header.font();
        while (sizeOf(section).width() > header.sectionSize(section) - margins && font.pointSizeF() > kSmallestFont) {
            font.setPointSizeF(font.pointSizeF() - 0.5);
            header.setFont(font);
        }
    }
    for (int section = 0; section < header.count(); ++section)
        height = qMax(height, sizeOf(section).height());
    header.setFixedHeight(height + kPadding);
}

} // namespace

CredentialsTable::CredentialsTable(QWidget* parent) : QTableWidget(parent)
{
    constexpr int kWidths[] = {120, 100, 120, 100, 120, 120, 120, 120, 80, 150};
    const QStringList titles = credentialColumnTitles();
    setColumnCount(titles.size());
    setHorizontalHeaderLabels(titles);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    for (int column = 0; column < titles.size(); ++column)
        setColumnWidth(column, kWidths[column]);

    const int twoLines = 2 * fontMetrics().lineSpacing();
    const int keyFiles = fontMetrics().size(0, QStringLiteral("私钥\n公钥")).height();
    constexpr int kPadding = 8;
    QHeaderView* header = horizontalHeader();
    header->setStretchLastSection(true);
    header->setDefaultAlignment(static_cast<Qt::Alignment>(int(Qt::AlignCenter) | int(Qt::TextWordWrap)));
    header->setSortIndicator(-1, Qt::AscendingOrder); // as in the file until the user sorts
    setSortingEnabled(true);
    fitTitles(*header);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(qMax(twoLines, keyFiles) + kPadding);
    setItemDelegateForColumn(int(CredentialColumn::KeyFiles), new KeyFilesDelegate(this));
}

int CredentialsTable::showCredentials(const QJsonArray& credentials, const CredentialIdFaults& faults,
                                      const QString& search)
{
    std::vector<int> matching;
    for (int index = 0; index < credentials.size(); ++index) {
        if (search.isEmpty() || isFound(credentials.at(index).toObject(), search))
            matching.push_back(index);
    }
    const int rows = qMin(int(matching.size()), kMostShownItems);
    setSortingEnabled(false); // rows must not move while they are filled
    setRowCount(0);
    setRowCount(rows);
    for (int row = 0; row < rows; ++row)
        fillRow(row, matching[row], credentials.at(matching[row]).toObject(), faults);
    setSortingEnabled(true);
    return int(matching.size());
}

void CredentialsTable::fillRow(int row, int index, const QJsonObject& credential, const CredentialIdFaults& faults)
{
    const QStringList texts = credentialRow(credential);
    for (int column = 0; column < texts.size(); ++column) {
        auto* cell = new Cell(texts.at(column));
        if (column == kIdColumn || column == int(CredentialColumn::UserId))
            cell->setToolTip(plainToolTip(texts.at(column)));
        setItem(row, column, cell);
    }
    QTableWidgetItem* id = item(row, kIdColumn);
    id->setData(kIndexRole, index);
    if (faults.repeated.contains(index) || faults.notHexadecimal.contains(index))
        id->setForeground(QColor(QStringLiteral("#b3261e")));
}

std::optional<int> CredentialsTable::selectedCredential() const
{
    const QModelIndexList rows = selectionModel()->selectedRows();
    if (rows.isEmpty())
        return {};
    const QTableWidgetItem* id = item(rows.first().row(), kIdColumn);
    return id ? id->data(kIndexRole).toInt() : rows.first().row();
}

void CredentialsTable::selectCredential(int index)
{
    for (int row = 0; row < rowCount(); ++row) {
        if (item(row, kIdColumn)->data(kIndexRole).toInt() == index)
            selectRow(row);
    }
}

void CredentialsTable::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete && event->modifiers() == Qt::NoModifier)
        emit deleteRequested();
    else
        QTableWidget::keyPressEvent(event);
}
