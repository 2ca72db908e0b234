// fido2_setting_dialog_layout.cpp: what Fido2SettingDialog looks like.
#include "fido2/dialogs/fido2_setting_dialog.h"

#include "fido2/dialogs/credentials_table.h"
#include "runtime/last_used.h"
#include "ui/dialog_parts.h"
#include "ui/file_drop.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

const QString kLastUsedKey = QStringLiteral("key");

constexpr int kFieldWidth = 420; // serial numbers fit; the dialog is as wide as its table, which is too wide for them

/// Takes a line of its own, or as much of one as there is room for, and none while it has no text.
QLabel* addStateLine(QVBoxLayout* layout, const char* objectName)
{
    auto* line = named(objectName, new QLabel);
    line->setTextFormat(Qt::PlainText);
    line->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long text must not widen the dialog
    line->hide();
    layout->addWidget(line);
    return line;
}

} // namespace

void Fido2SettingDialog::onLastUsed()
{
    for (const QString& text : lastUsedSettings(kLastUsedKey)) {
        const QString name = text.section(QLatin1Char('='), 0, 0);
        const QString value = text.section(QLatin1Char('='), 1);
        if (auto* line = findChild<QLineEdit*>(name))
            line->setText(value);
        else if (auto* choice = findChild<QComboBox*>(name))
            choice->setCurrentText(value);
        else if (auto* box = findChild<QCheckBox*>(name))
            box->setChecked(value == QStringLiteral("1"));
    }
}

/// Under the names of the fields.
void Fido2SettingDialog::rememberSettings() const
{
    QStringList texts;
    for (const QLineEdit* line : {m_vid, m_pid, m_name})
        texts << line->objectName() + QLatin1Char('=') + line->displayText();
    texts << m_usbVersion->objectName() + QLatin1Char('=') + m_usbVersion->currentText()
          << m_supportsPin->objectName() + QLatin1Char('=') + parameter::flag(m_supportsPin->isChecked());
    rememberLastUsed(kLastUsedKey, texts);
}

void Fido2SettingDialog::buildLayout()
{
    setWindowTitle(tr("FIDO2 Device Configuration"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    auto* body = new QWidget;
    auto* groups = new QVBoxLayout(body);
    groups->setContentsMargins(0, 0, 0, 0);
    groups->addWidget(buildDeviceGroup());
    groups->addWidget(buildCredentialsGroup(), 1);
    layout->addWidget(makeScrollable(body), 1);
    QPushButton* create = makeColoredButton(tr("Create FIDO2 Device"), ButtonColor::Green);
    create->setObjectName(QStringLiteral("create"));
    create->setDefault(true);
    QPushButton* lastUsed = named("lastUsed", makePlainButton(tr("Last used")));
    lastUsed->setToolTip(tr("Fills in what the key that was created last was made with, but for its serial number"));
    lastUsed->setEnabled(!lastUsedSettings(kLastUsedKey).isEmpty());
    connect(lastUsed, &QPushButton::clicked, this, &Fido2SettingDialog::onLastUsed);
    layout->addLayout(makeButtonRow({lastUsed, create}));
    connect(create, &QPushButton::clicked, this, &Fido2SettingDialog::onCreateDevice);
    takeDroppedFile(*this, [this](const QString& path) { loadUnlessUnsaved(path); });
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
    const QLabel* label = addFormRow(form, tr("Support PIN:"), m_supportsPin);
    m_supportsPin->setMinimumHeight(label->sizeHint().height()); // it has no text that would put it on the label's line

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
    m_table = named("credentials", new CredentialsTable);
    connect(m_table, &QTableWidget::itemDoubleClicked, this, &Fido2SettingDialog::onTableItemDoubleClicked);
    connect(m_table, &CredentialsTable::deleteRequested, this, &Fido2SettingDialog::onDeleteCredential);
    onEnter(m_table, [this] { onEditCredential(); });
    constexpr int kLeastTable = 140; // two rows; below that the dialog scrolls
    m_table->setMinimumHeight(kLeastTable);
    m_table->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    layout->addWidget(m_table, 1);
    m_rest = addStateLine(layout, "rest");
    m_idWarning = addStateLine(layout, "idWarning");
    m_idWarning->setWordWrap(true);
    m_idWarning->setStyleSheet(QStringLiteral("color: #b3261e;"));
    m_pathLabel = addStateLine(layout, "path");
    m_pathLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_pathLabel->setStyleSheet(QStringLiteral("color: gray; font-size: 10px;"));
    m_fileState = addStateLine(layout, "fileState");
    m_fileState->setWordWrap(true);
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
    m_unsaved = named("unsaved", new QLabel(tr("● Not saved")));
    m_unsaved->setStyleSheet(QStringLiteral("color: #b3261e; font-weight: bold;"));
    m_unsaved->hide();
    layout->addWidget(m_unsaved);
    layout->addStretch();
    m_search = named("search", new QLineEdit);
    m_search->setPlaceholderText(tr("Search"));
    m_search->setClearButtonEnabled(true);
    widenFor(m_search, m_search->placeholderText() + QStringLiteral("    ")); // and the button to clear it
    connect(m_search, &QLineEdit::textChanged, this, &Fido2SettingDialog::onRefreshCredentials);
    layout->addWidget(m_search);
    return row;
}
