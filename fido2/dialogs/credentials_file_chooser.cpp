#include "fido2/dialogs/credentials_file_chooser.h"

#include "fido2/dialogs/credential_texts.h"
#include "fido2/file/credentials_file.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/plain_tool_tip.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

CredentialsFileChooser::CredentialsFileChooser(const QString& directory, const QStringList& names, QWidget* parent)
    : QDialog(parent)
    , m_directory(directory)
    , m_names(names)
{
    setWindowTitle(tr("Select Credentials File"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(tr("Found %1 credential files. Please select one:").arg(names.size()));
    label->setObjectName(QStringLiteral("found"));
    layout->addWidget(label);

    const QStringList titles{tr("Serial Number"), tr("PIN Support"), tr("Retry Count"), tr("Credential Count")};
    m_table = new QTableWidget(names.size(), titles.size());
    m_table->setObjectName(QStringLiteral("files"));
    m_table->setHorizontalHeaderLabels(titles);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setTabKeyNavigation(false);
    m_table->verticalHeader()->hide();
    constexpr int kNumberWidth = 140;
    m_table->horizontalHeader()->setDefaultSectionSize(kNumberWidth);
    for (int column = 1; column < titles.size(); ++column)
        m_table->setColumnWidth(column, qMax(kNumberWidth, m_table->horizontalHeader()->sectionSizeHint(column)));
    m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    for (int row = 0; row < names.size(); ++row)
        fillRow(row, directory + QLatin1Char('/') + names.at(row));
    layout->addWidget(m_table);

    m_select = new QPushButton(tr("Select"));
    m_select->setObjectName(QStringLiteral("select"));
    m_select->setDefault(true);
    auto* cancel = makePlainButton(tr("Cancel"));
    cancel->setObjectName(QStringLiteral("cancel"));
    layout->addLayout(makeButtonRow({m_select, cancel}));
    connect(m_select, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_table, &QTableWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(m_table, &QTableWidget::itemSelectionChanged, this, &CredentialsFileChooser::updateButtons);
    updateButtons();
    constexpr QSize kSize(700, 340);
    resize(kSize);
}

void CredentialsFileChooser::fillRow(int row, const QString& path)
{
    const CredentialsFileSummary summary = summarizeCredentials(readJsonFile(path).root);
    const QString unknown = tr("Unknown");
    const QStringList texts{
        summary.serialNumber ? shownText(*summary.serialNumber) : unknown,
        summary.hasPin ? yesOrNo(*summary.hasPin) : unknown,
        summary.maxPinRetries.value_or(unknown),
        QString::number(summary.credentialCount),
    };
    for (int column = 0; column < texts.size(); ++column)
        m_table->setItem(row, column, new QTableWidgetItem(texts.at(column)));
    m_table->item(row, 0)->setToolTip(plainToolTip(path));
}

void CredentialsFileChooser::updateButtons()
{
    m_select->setEnabled(!m_table->selectedItems().isEmpty());
}

QString CredentialsFileChooser::chosenPath() const
{
    const QList<QTableWidgetItem*> selected = m_table->selectedItems();
    return selected.isEmpty() ? QString() : m_directory + QLatin1Char('/') + m_names.at(selected.first()->row());
}
