#include "fido2/dialogs/fido2_user_confirmation_dialog.h"

#include "fido2/dialogs/confirmation_result.h"
#include "fido2/dialogs/confirmation_texts.h"
#include "fido2/dialogs/credential_detail_dialog.h"
#include "fido2/dialogs/credential_texts.h"
#include "fido2/dialogs/request_details_dialog.h"
#include "fido2/file/log.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/early_input.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTextDocument>
#include <QTextEdit>
#include <QtMath>

#include <memory>

namespace {

constexpr int kWidth = 520;
constexpr int kAgeIntervalMs = 1000;
constexpr qint64 kOldSeconds = 3;        // a request that just came needs no age
constexpr int kIndexRole = Qt::UserRole; // element of availableCredentials

/// Height that shows all details, as far as they get it.
int detailsHeight(const QTextEdit& details, int width, int most)
{
    constexpr int kFewestLines = 2;
    constexpr int kFrame = 8;
    const int line = details.fontMetrics().lineSpacing();
    if (details.document()->blockCount() * line > most)
        return most; // known without laying all of it out
    const std::unique_ptr<QTextDocument> measured(details.document()->clone());
    measured->setTextWidth(width);
    return qBound(kFewestLines * line, qCeil(measured->size().height()) + kFrame, most);
}

} // namespace

Fido2UserConfirmationDialog::Fido2UserConfirmationDialog(const QString& operation, const QJsonObject& request,
                                                         QWidget* parent, Fido2Environment environment)
    : QDialog(parent)
    , m_operation(operation)
    , m_data(request)
    , m_environment(std::move(environment))
{
    if (m_data.isEmpty()) {
        qCWarning(fido2Log, "WARNING: Received empty data in Fido2UserConfirmationDialog!");
        qCWarning(fido2Log).noquote() << "Operation:" << operation;
        m_data = placeholderData(operation);
    }
    setWindowTitle(tr("FIDO2 User Confirmation"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    constexpr int kHeadingPixels = 14;
    QLabel* heading = makeHeading(confirmationHeading(operation), kHeadingPixels);
    heading->setObjectName(QStringLiteral("heading"));
    layout->addWidget(heading);
    m_asker = new QLabel;
    m_asker->setObjectName(QStringLiteral("asker"));
    m_asker->setTextFormat(Qt::PlainText);
    m_asker->setWordWrap(true);
    m_asker->hide();
    layout->addWidget(m_asker);
    const QTextEdit* details = buildDetails();
    if (offersCredentials(m_data))
        buildCredentialList();
    else if (m_data.value(QStringLiteral("allowDescriptionInput")).toBool())
        buildDescriptionField();
    layout->addWidget(buildButtons());
    ignoreEarlyInput(*this);

    resize(kWidth, sizeHint().height() - (details->maximumHeight() - details->minimumHeight()));
}

QTextEdit* Fido2UserConfirmationDialog::buildDetails()
{
    const int mostHeight = isPasswordlessLogin(m_data) ? 250 : 150;
    QTextEdit* details = makeReadOnlyText(QStringLiteral("details"));
    showText(details, confirmationDetails(m_operation, m_data));
    constexpr int kMargins = 40;
    details->setMaximumHeight(mostHeight);
    details->setMinimumHeight(detailsHeight(*details, kWidth - kMargins, mostHeight));
    layout()->addWidget(makeLabelFor(details, tr("Operation Details:")));
    layout()->addWidget(details);
    details->setFocus(); // no button: a key that was meant for another window must not answer
    return details;
}

void Fido2UserConfirmationDialog::buildCredentialList()
{
    m_candidates = new QListWidget;
    m_candidates->setObjectName(QStringLiteral("candidates"));
    m_candidates->setUniformItemSizes(true);
    int index = 0;
    const QJsonArray candidates = m_data.value(QStringLiteral("availableCredentials")).toArray();
    for (const QJsonValue& candidate : candidates) {
        if (index == kMostShownItems)
            break;
        auto* item = new QListWidgetItem(credentialChoice(candidate.toObject()));
        item->setData(kIndexRole, index++);
        m_candidates->addItem(item);
    }
    if (const QString rest = notShownText(candidates.size()); !rest.isEmpty()) {
        auto* item = new QListWidgetItem(rest);
        item->setFlags(Qt::NoItemFlags);
        m_candidates->addItem(item);
    }
    m_candidates->setCurrentRow(0);
    constexpr int kLeastHeight = 90;
    m_candidates->setMinimumHeight(kLeastHeight);
    connect(m_candidates, &QListWidget::itemDoubleClicked, this, &Fido2UserConfirmationDialog::showCandidate);
    onEnter(m_candidates, [this] { showCandidate(m_candidates->currentItem()); });
    layout()->addWidget(makeLabelFor(m_candidates, tr("Select a credential:")));
    layout()->addWidget(m_candidates);
    m_candidates->setFocus();
}

void Fido2UserConfirmationDialog::buildDescriptionField()
{
    m_description = new QLineEdit(m_data.value(QStringLiteral("defaultDescription")).toString());
    m_description->setObjectName(QStringLiteral("description"));
    m_description->setPlaceholderText(tr("Enter credential description (optional)"));
    layout()->addWidget(makeLabelFor(m_description, tr("Credential Description:")));
    layout()->addWidget(m_description);
    m_description->setFocus();
}

QWidget* Fido2UserConfirmationDialog::buildButtons()
{
    auto* area = new QWidget;
    auto* column = new QVBoxLayout(area);
    column->setContentsMargins(0, 0, 0, 0);
    auto* more = new QHBoxLayout;
    QPushButton* showDetails = makePlainButton(tr("Show Detailed Information"));
    showDetails->setObjectName(QStringLiteral("showDetails"));
    more->addWidget(showDetails);
    more->addStretch();
    column->addLayout(more);
    m_remember = new QCheckBox(tr("Remember this choice for similar operations"));
    m_remember->setObjectName(QStringLiteral("remember"));
    column->addWidget(m_remember);

    auto* row = new QHBoxLayout;
    QPushButton* deny = makeColoredButton(tr("DENY"), ButtonColor::Red);
    deny->setObjectName(QStringLiteral("deny"));
    m_confirm = makeColoredButton(tr("CONFIRM"), ButtonColor::Green);
    m_confirm->setObjectName(QStringLiteral("confirm"));
    row->addWidget(deny);
    row->addWidget(m_confirm);
    column->addLayout(row);
    connect(showDetails, &QPushButton::clicked, this, &Fido2UserConfirmationDialog::onShowDetails);
    connect(deny, &QPushButton::clicked, this, &Fido2UserConfirmationDialog::onDeny);
    connect(m_confirm, &QPushButton::clicked, this, &Fido2UserConfirmationDialog::onConfirm);
    return area;
}

void Fido2UserConfirmationDialog::showAsker(const QString& key, qint64 processId, const QDateTime& since)
{
    const QString who = key.isEmpty() ? tr("Asked by process %1").arg(processId)
                                      : tr("Asked by the key %1, process %2").arg(key, QString::number(processId));
    const auto show = [this, who, since] {
        const qint64 seconds = since.secsTo(m_environment.now());
        m_asker->setText(seconds < kOldSeconds ? who : tr("%1, %2 s ago").arg(who, QString::number(seconds)));
    };
    m_age.callOnTimeout(this, show);
    m_age.start(kAgeIntervalMs);
    show();
    m_asker->show();
}

void Fido2UserConfirmationDialog::showAskerGone()
{
    m_age.stop();
    m_asker->setText(tr("The key that asked has ended. An answer would reach nobody."));
    m_asker->show();
    m_confirm->setEnabled(false);
}

void Fido2UserConfirmationDialog::onConfirm()
{
    ConfirmationInput input;
    input.rememberChoice = m_remember->isChecked();
    if (m_description)
        input.description = m_description->text();
    if (m_candidates && m_candidates->count() > 0) {
        if (m_candidates->currentRow() < 0)
            m_candidates->setCurrentRow(0);
        input.selectedIndex = m_candidates->currentItem()->data(kIndexRole).toInt();
    }
    answer(true, confirmedResult(m_data, input, m_environment.timeText()));
    accept();
}

void Fido2UserConfirmationDialog::onDeny()
{
    answer(false, deniedResult(m_remember->isChecked()));
    QDialog::reject();
}

void Fido2UserConfirmationDialog::reject()
{
    onDeny();
}

void Fido2UserConfirmationDialog::answer(bool confirmed, const QJsonObject& result)
{
    if (m_answered)
        return;
    m_answered = true;
    emit userConfirmed(confirmed, result);
}

void Fido2UserConfirmationDialog::onShowDetails()
{
    RequestDetailsDialog(m_operation, m_data, this).exec();
}

void Fido2UserConfirmationDialog::showCandidate(const QListWidgetItem* item)
{
    if (!item || !item->flags().testFlag(Qt::ItemIsEnabled))
        return;
    const QJsonArray candidates = m_data.value(QStringLiteral("availableCredentials")).toArray();
    auto* dialog = new CredentialDetailDialog(candidates.at(item->data(kIndexRole).toInt()).toObject(), this);
    dialog->show();
}
