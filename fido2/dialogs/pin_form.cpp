#include "fido2/dialogs/pin_form.h"

#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

QLineEdit* pinField(const char* objectName, const QString& placeholder)
{
    auto* field = named(objectName, new QLineEdit);
    field->setEchoMode(QLineEdit::Password);
    field->setPlaceholderText(placeholder);
    widenFor(field, placeholder);
    return field;
}

QString stateText(const PinState& state)
{
    if (!state.isSet)
        return PinForm::tr("No PIN is set.");
    if (state.attemptsLeft <= 0)
        return PinForm::tr("A PIN is set and blocked: no attempts are left. Setting a PIN unblocks the key.");
    return PinForm::tr("A PIN is set, %1 of %2 attempts are left.")
        .arg(QString::number(state.attemptsLeft), QString::number(state.mostAttempts));
}

} // namespace

PinForm::PinForm(QWidget* parent) : QGroupBox(tr("PIN Settings"), parent)
{
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_state = named("pinState", new QLabel);
    m_state->setWordWrap(true);
    form->addRow(tr("State:"), m_state);
    m_pin = pinField("pin", tr("Enter PIN (4-63 characters)"));
    m_reveal = named("reveal", makePlainButton(tr("Show")));
    m_reveal->setCheckable(true);
    m_reveal->setToolTip(tr("Shows the PIN while it is typed"));
    addFormRow(form, tr("PIN:"), {m_pin, m_reveal}, m_pin);
    m_confirmation = pinField("confirmPin", tr("Confirm PIN"));
    addFormRow(form, tr("Confirm PIN:"), m_confirmation);
    m_hint = named("pinHint", new QLabel);
    m_hint->setWordWrap(true);
    m_hint->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // what it says changes, the width does not
    QPushButton* set = named("setPin", makePlainButton(tr("Set PIN")));
    auto* row = new QHBoxLayout;
    row->addWidget(set);
    row->addWidget(m_hint, 1);
    form->addRow(QString(), row);
    connect(m_reveal, &QPushButton::toggled, this, &PinForm::reveal);
    connect(set, &QPushButton::clicked, this, &PinForm::setRequested);
    for (const QLineEdit* field : {m_pin, m_confirmation}) {
        connect(field, &QLineEdit::returnPressed, this, &PinForm::setRequested);
        connect(field, &QLineEdit::textChanged, this, &PinForm::showHint);
    }
}

QString PinForm::pin() const
{
    return m_pin->text();
}

PinCheck PinForm::check() const
{
    return checkPin(m_pin->text(), m_confirmation->text());
}

void PinForm::showState(const PinState& state)
{
    m_state->setText(stateText(state));
}

void PinForm::correct(PinCheck check)
{
    if (check == PinCheck::Ok)
        return;
    QLineEdit* field = check == PinCheck::Mismatch ? m_confirmation : m_pin;
    field->setFocus();
    field->selectAll();
}

void PinForm::clear()
{
    // setText, unlike clear, keeps no history to undo.
    m_pin->setText(QString());
    m_confirmation->setText(QString());
    m_reveal->setChecked(false);
}

void PinForm::reveal(bool shown)
{
    for (QLineEdit* field : {m_pin, m_confirmation})
        field->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
}

void PinForm::showHint()
{
    QString hint;
    const QString typed = m_pin->text();
    const int missing = kShortestPin - characterCount(typed);
    if (typed.isEmpty())
        hint = QString();
    else if (missing > 0)
        hint = tr("Too short: %1 more characters are needed.").arg(missing);
    else if (typed.toUtf8().size() > kMostPinBytes)
        hint = tr("Hosts can send no more than %1 bytes of a PIN; this one has %2.")
                   .arg(QString::number(kMostPinBytes), QString::number(typed.toUtf8().size()));
    else if (-missing < kShortestGoodPin - kShortestPin)
        hint = tr("Short PINs are easy to guess; %1 characters or more are better.").arg(kShortestGoodPin);
    m_hint->setText(hint);
}
