// fido2_setting_dialog_layout.cpp: what Fido2SettingDialog looks like.
#include "fido2/dialogs/fido2_setting_dialog.h"

#include "fido2/dialogs/credential_texts.h"
#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableWidget>

namespace {

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

constexpr int kFieldWidth = 420; // serial numbers fit; the dialog is as wide as its table, which is too wide for them

} // namespace

void Fido2SettingDialog::buildLayout()
{
    setWindowTitle(tr("FIDO2 Device Configuration"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildDeviceGroup());
    layout->addWidget(buildCredentialsGroup(), 1);
    QPushButton* create = makeColoredButton(tr("Create FIDO2 Device"), ButtonColor::Green);
    create->setObjectName(QStringLiteral("create"));
    create->setDefault(true);
    layout->addLayout(makeButtonRow({create}));
    connect(create, &QPushButton::clicked, this, &Fido2SettingDialog::onCreateDevice);
    constexpr QSize kSize(1230, 680); // every column of the table at its width
    resizeOnScreen(*this, kSize);
}

QLineEdit* Fido2SettingDialog::addLine(QFormLayout* form, const QString& label, const QString& placeholder,
                                       const QString& text, const QString& objectName)
{
    auto* line = new QLineEdit(text);
    line->setObjectName(objectName);
    line->setPlaceholderText(placeholder);
    line->setMaximumWidth(kFieldWidth);
    form->addRow(label, line);
    return line;
}

QWidget* Fido2SettingDialog::buildDeviceGroup()
{
    const Fido2Parameters initial;
    QFormLayout* form = nullptr;
    QGroupBox* group = makeFormGroup(tr("Device Configuration"), &form);
    m_vid = addLine(form, tr("USB VID:"), tr("Enter USB Vendor ID (e.g., 0x1234)"), initial.vid, QStringLiteral("vid"));
    m_pid =
        addLine(form, tr("USB PID:"), tr("Enter USB Product ID (e.g., 0x5678)"), initial.pid, QStringLiteral("pid"));
    m_usbVersion = new QComboBox;
    m_usbVersion->setObjectName(QStringLiteral("usbVersion"));
    m_usbVersion->addItems({QStringLiteral("2.0"), QStringLiteral("3.0")});
    form->addRow(tr("USB Version:"), m_usbVersion);
    m_name = addLine(form, tr("Device Name:"), tr("Enter device name"), initial.name, QStringLiteral("deviceName"));

    auto* serialRow = new QHBoxLayout;
    m_serial = new QLineEdit;
    m_serial->setObjectName(QStringLiteral("serialNumber"));
    m_serial->setPlaceholderText(tr("Device serial number"));
    QPushButton* generate = makePlainButton(tr("Generate"));
    generate->setObjectName(QStringLiteral("generate"));
    QPushButton* select = makePlainButton(tr("Select Credentials File"));
    select->setObjectName(QStringLiteral("selectFile"));
    widenFor(m_serial, m_serial->placeholderText());
    m_serial->setMaximumWidth(kFieldWidth);
    serialRow->addWidget(m_serial, 1);
    serialRow->addWidget(generate);
    serialRow->addWidget(select);
    serialRow->addStretch();
    form->addRow(makeLabelFor(m_serial, tr("Device Serial Number:")), serialRow);
    m_supportsPin = new QCheckBox;
    m_supportsPin->setObjectName(QStringLiteral("supportsPin"));
    m_supportsPin->setChecked(true);
    form->addRow(tr("Support PIN:"), m_supportsPin);

    connect(m_serial, &QLineEdit::textChanged, this, &Fido2SettingDialog::updateCredentialsFilePath);
    connect(generate, &QPushButton::clicked, this, &Fido2SettingDialog::onGenerateSerialNumber);
    connect(select, &QPushButton::clicked, this, &Fido2SettingDialog::onSelectCredentialsFile);
    return group;
}

QWidget* Fido2SettingDialog::buildCredentialsGroup()
{
    auto* group = new QGroupBox(tr("Credentials Management"));
    auto* layout = new QVBoxLayout(group);
    layout->addWidget(buildButtonRow());
    m_table = buildTable();
    layout->addWidget(m_table, 1);
    m_rest = new QLabel;
    m_rest->hide();
    layout->addWidget(m_rest);
    m_pathLabel = new QLabel;
    m_pathLabel->setObjectName(QStringLiteral("path"));
    m_pathLabel->setTextFormat(Qt::PlainText);
    m_pathLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_pathLabel->setStyleSheet(QStringLiteral("color: gray; font-size: 10px;"));
    m_pathLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long path must not widen the dialog
    layout->addWidget(m_pathLabel);
    m_fileState = new QLabel;
    m_fileState->setObjectName(QStringLiteral("fileState"));
    m_fileState->setTextFormat(Qt::PlainText);
    m_fileState->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // as the path above
    layout->addWidget(m_fileState);
    return group;
}

QWidget* Fido2SettingDialog::buildButtonRow()
{
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    using Slot = void (Fido2SettingDialog::*)();
    const auto add = [&](const QString& text, const char* objectName, Slot slot) {
        QPushButton* button = makePlainButton(text);
        button->setObjectName(QLatin1String(objectName));
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
    };
    add(tr("Save Credentials"), "save", &Fido2SettingDialog::onSaveCredentials);
    add(tr("Add New"), "add", &Fido2SettingDialog::onAddCredential);
    add(tr("Delete Selected"), "delete", &Fido2SettingDialog::onDeleteCredential);
    add(tr("Edit Selected"), "edit", &Fido2SettingDialog::onEditCredential);
    add(tr("Refresh"), "refresh", &Fido2SettingDialog::onRefreshCredentials);
    layout->addStretch();
    return row;
}

QTableWidget* Fido2SettingDialog::buildTable()
{
    constexpr int kWidths[] = {120, 100, 120, 100, 120, 120, 120, 120, 80, 150};
    const QStringList titles = credentialColumnTitles();
    auto* table = new QTableWidget(0, titles.size());
    table->setObjectName(QStringLiteral("credentials"));
    table->setHorizontalHeaderLabels(titles);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setTabKeyNavigation(false);
    for (int column = 0; column < titles.size(); ++column)
        table->setColumnWidth(column, kWidths[column]);

    const int twoLines = 2 * table->fontMetrics().lineSpacing();
    const int keyFiles = table->fontMetrics().size(0, QStringLiteral("私钥\n公钥")).height();
    constexpr int kPadding = 8;
    QHeaderView* header = table->horizontalHeader();
    header->setStretchLastSection(true);
    header->setDefaultAlignment(static_cast<Qt::Alignment>(int(Qt::AlignCenter) | int(Qt::TextWordWrap)));
    fitTitles(*header);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(qMax(twoLines, keyFiles) + kPadding);
    table->setItemDelegateForColumn(int(CredentialColumn::KeyFiles), new KeyFilesDelegate(table));
    connect(table, &QTableWidget::itemDoubleClicked, this, &Fido2SettingDialog::onTableItemDoubleClicked);
    onEnter(table, [this] { onEditCredential(); });
    return table;
}
