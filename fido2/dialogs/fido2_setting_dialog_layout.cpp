// fido2_setting_dialog_layout.cpp: what Fido2SettingDialog looks like.
#include "fido2/dialogs/fido2_setting_dialog.h"

#include "fido2/dialogs/credentials_table.h"
#include "fido2/dialogs/key_form.h"
#include "ui/dialog_parts.h"
#include "ui/file_drop.h"
#include "ui/form_rows.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

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

void Fido2SettingDialog::buildLayout()
{
    setWindowTitle(tr("FIDO2 Device Configuration"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    auto* body = new QWidget;
    auto* groups = new QVBoxLayout(body);
    groups->setContentsMargins(0, 0, 0, 0);
    m_form = new KeyForm;
    connect(m_form, &KeyForm::serialNumberChanged, this, &Fido2SettingDialog::updateCredentialsFilePath);
    connect(m_form, &KeyForm::generateRequested, this, &Fido2SettingDialog::onGenerateSerialNumber);
    connect(m_form, &KeyForm::selectFileRequested, this, &Fido2SettingDialog::onSelectCredentialsFile);
    groups->addWidget(m_form);
    groups->addWidget(buildCredentialsGroup(), 1);
    layout->addWidget(makeScrollable(body), 1);
    QPushButton* create = makeColoredButton(tr("Create FIDO2 Device"), ButtonColor::Green);
    create->setObjectName(QStringLiteral("create"));
    create->setDefault(true);
    QPushButton* lastUsed = named("lastUsed", makePlainButton(tr("Last used")));
    lastUsed->setToolTip(tr("Fills in what the key that was created last was made with, but for its serial number"));
    lastUsed->setEnabled(KeyForm::hasLastUsed());
    connect(lastUsed, &QPushButton::clicked, m_form, &KeyForm::fillInLastUsed);
    layout->addLayout(makeButtonRow({lastUsed, create}));
    connect(create, &QPushButton::clicked, this, &Fido2SettingDialog::onCreateDevice);
    takeDroppedFile(*this, [this](const QString& path) { loadUnlessUnsaved(path); });
    constexpr QSize kSize(1230, 680); // every column of the table at its width
    resizeOnScreen(*this, kSize);
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
