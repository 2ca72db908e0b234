#include "fido2/dialogs/device_detail_dialog.h"

#include "fido2/dialogs/credential_texts.h"
#include "fido2/file/pin.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>

namespace {

QLineEdit* addField(QFormLayout* form, const QString& label, const char* objectName)
{
    QLineEdit* field = makeReadOnlyField(QLatin1String(objectName));
    form->addRow(label, field);
    return field;
}

QLineEdit* addPinField(QFormLayout* form, const QString& label, const QString& placeholder, const char* objectName)
{
    auto* field = new QLineEdit;
    field->setObjectName(QLatin1String(objectName));
    field->setEchoMode(QLineEdit::Password);
    field->setPlaceholderText(placeholder);
    form->addRow(label, field);
    return field;
}

} // namespace

DeviceDetailDialog::DeviceDetailDialog(const QString& credentialsPath, const QString& serialNumber, QWidget* parent,
                                       Fido2Environment environment, Prompter& prompter)
    : QDialog(parent)
    , m_file(credentialsPath)
    , m_serialNumber(serialNumber)
    , m_environment(std::move(environment))
    , m_prompter(prompter)
{
    setWindowTitle(tr("Device Details - %1").arg(shownText(serialNumber)));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildDeviceGroup());
    layout->addWidget(buildCredentialsGroup(), 1);
    layout->addWidget(buildPinGroup());
    layout->addWidget(buildActions());

    QPushButton* close = makePlainButton(tr("Close"));
    close->setObjectName(QStringLiteral("close"));
    layout->addLayout(makeButtonRow({close}));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    alignFormLabels(*this);
    constexpr int kWidth = 560;
    resizeOnScreen(*this, {kWidth, sizeHint().height()});
    close->setFocus();
    load();
}

QWidget* DeviceDetailDialog::buildDeviceGroup()
{
    QFormLayout* form = nullptr;
    QGroupBox* group = makeFormGroup(tr("Device Information"), &form);
    m_serialField = addField(form, tr("Serial Number:"), "serialNumber");
    m_nameField = addField(form, tr("Device Name:"), "deviceName");
    m_vidField = addField(form, tr("VID:"), "vid");
    m_pidField = addField(form, tr("PID:"), "pid");
    m_usbVersionField = addField(form, tr("USB Version:"), "usbVersion");
    m_supportsPinField = addField(form, tr("Supports PIN:"), "supportsPin");
    return group;
}

QWidget* DeviceDetailDialog::buildCredentialsGroup()
{
    auto* group = new QGroupBox(tr("Credentials Information"));
    auto* layout = new QVBoxLayout(group);
    m_summary = makeReadOnlyText(QStringLiteral("summary"));
    constexpr int kLeastLines = 4; // on a low screen
    m_summary->setMinimumHeight(kLeastLines * m_summary->fontMetrics().lineSpacing());
    layout->addWidget(m_summary);
    return group;
}

QWidget* DeviceDetailDialog::buildPinGroup()
{
    QFormLayout* form = nullptr;
    QGroupBox* group = makeFormGroup(tr("PIN Settings"), &form);
    m_pinGroup = group;
    m_pin = addPinField(form, tr("PIN:"), tr("Enter PIN (4-63 characters)"), "pin");
    m_confirmation = addPinField(form, tr("Confirm PIN:"), tr("Confirm PIN"), "confirmPin");
    auto* row = new QHBoxLayout;
    QPushButton* set = makePlainButton(tr("Set PIN"));
    set->setObjectName(QStringLiteral("setPin"));
    row->addWidget(set);
    row->addStretch();
    form->addRow(QString(), row);
    connect(set, &QPushButton::clicked, this, &DeviceDetailDialog::onSetPin);
    connect(m_pin, &QLineEdit::returnPressed, this, &DeviceDetailDialog::onSetPin);
    connect(m_confirmation, &QLineEdit::returnPressed, this, &DeviceDetailDialog::onSetPin);
    return group;
}

QWidget* DeviceDetailDialog::buildActions()
{
    auto* group = new QGroupBox(tr("Device Actions"));
    auto* layout = new QHBoxLayout(group);
    QPushButton* clear = makeColoredButton(tr("Clear Device"), ButtonColor::Red);
    clear->setObjectName(QStringLiteral("clear"));
    layout->addWidget(clear);
    layout->addStretch();
    connect(clear, &QPushButton::clicked, this, &DeviceDetailDialog::onClearDevice);
    return group;
}

void DeviceDetailDialog::load()
{
    switch (m_file.load()) {
    case JsonFileContent::State::Object:
        showDevice();
        break;
    case JsonFileContent::State::NotOpened:
        complain(tr("Cannot open credentials file: %1").arg(m_file.path()));
        break;
    case JsonFileContent::State::NotJson:
    case JsonFileContent::State::NotAnObject:
        complain(tr("Invalid credentials file format"));
        break;
    }
}

void DeviceDetailDialog::showDevice()
{
    const QJsonObject info = m_file.deviceInfo();
    const auto show = [&info](QLineEdit* field) {
        showValue(field, textOrNotAvailable(info.value(field->objectName())));
    };
    for (QLineEdit* field : {m_serialField, m_nameField, m_vidField, m_pidField, m_usbVersionField})
        show(field);
    showValue(m_supportsPinField, yesOrNo(info.value(QStringLiteral("supportsPin")).toBool()));
    showText(m_summary, credentialSummary(m_file.path(), m_file.credentials()));
}

void DeviceDetailDialog::complain(const QString& text, QLineEdit* field)
{
    m_prompter.warning(this, tr("Error"), text);
    if (!field)
        return;
    field->setFocus();
    field->selectAll();
}

void DeviceDetailDialog::onSetPin()
{
    switch (checkPin(m_pin->text(), m_confirmation->text())) {
    case PinCheck::Ok:
        break;
    case PinCheck::Empty:
        complain(tr("Please enter a PIN"), m_pin);
        return;
    case PinCheck::WrongLength:
        complain(tr("PIN must be 4-63 characters long"), m_pin);
        return;
    case PinCheck::Mismatch:
        complain(tr("PIN confirmation does not match"), m_confirmation);
        return;
    }
    switch (m_file.setPin(m_pin->text(), m_serialNumber)) {
    case CredentialsFile::PinResult::Set:
        break;
    case CredentialsFile::PinResult::NotOpened:
        complain(tr("Cannot open credentials file: %1").arg(m_file.path()));
        return;
    case CredentialsFile::PinResult::BadFormat:
        complain(tr("Invalid credentials file format"));
        return;
    case CredentialsFile::PinResult::NotWritten:
        complain(tr("Cannot write to credentials file: %1").arg(m_file.path()));
        return;
    }
    showDevice();
    m_prompter.information(this, tr("Success"), tr("PIN has been set successfully"));
    // setText, unlike clear, keeps no history to undo.
    m_pin->setText(QString());
    m_confirmation->setText(QString());
}

void DeviceDetailDialog::onClearDevice()
{
    const QString question = tr("Are you sure you want to clear this device?\n\nThis will delete:\n- Credentials file\n"
                                "- All related key files\n- All certificates\n\nThis action cannot be undone!");
    if (!m_prompter.question(this, tr("Confirm Clear Device"), question))
        return;
    m_file.clear(m_environment.directory(), m_serialNumber, m_file.credentials());
    m_file = CredentialsFile(m_file.path());
    showDevice();
    m_pinGroup->setEnabled(false);
    m_prompter.information(this, tr("Success"), tr("Device has been cleared successfully"));
}
