#include "fido2/dialogs/device_detail_dialog.h"

#include "fido2/dialogs/credential_texts.h"
#include "fido2/dialogs/pin_form.h"
#include "runtime/shown_text.h"
#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

QLineEdit* addField(QFormLayout* form, const QString& label, const char* objectName)
{
    QLineEdit* field = makeReadOnlyField(QLatin1String(objectName));
    form->addRow(label, field);
    return field;
}

QString textOf(PinCheck check)
{
    switch (check) {
    case PinCheck::Empty:
        return DeviceDetailDialog::tr("Please enter a PIN");
    case PinCheck::WrongLength:
        return DeviceDetailDialog::tr("PIN must be 4-63 characters long");
    case PinCheck::Mismatch:
        return DeviceDetailDialog::tr("PIN confirmation does not match");
    case PinCheck::Ok:
        break;
    }
    return {};
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
    auto* body = new QWidget;
    auto* groups = new QVBoxLayout(body);
    groups->setContentsMargins(0, 0, 0, 0);
    groups->addWidget(buildDeviceGroup());
    groups->addWidget(buildCredentialsGroup(), 1);
    m_pinForm = new PinForm;
    connect(m_pinForm, &PinForm::setRequested, this, &DeviceDetailDialog::onSetPin);
    groups->addWidget(m_pinForm);
    groups->addWidget(buildActions());
    layout->addWidget(makeScrollable(body), 1);

    QPushButton* close = makePlainButton(tr("Close"));
    close->setObjectName(QStringLiteral("close"));
    layout->addLayout(makeButtonRow({close}));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    alignFormLabels(*this);
    constexpr int kWidth = 560;
    resizeOnScreen(*this, {kWidth, sizeHint().height()});
    close->setFocus();
    load();
    for (const auto changed : {&QFileSystemWatcher::fileChanged, &QFileSystemWatcher::directoryChanged})
        connect(&m_watcher, changed, this, &DeviceDetailDialog::reload);
    m_watcher.addPaths({credentialsPath, QFileInfo(credentialsPath).path()});
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
    constexpr int kLeastLines = 2; // on a low screen
    m_summary->setMinimumHeight(kLeastLines * m_summary->fontMetrics().lineSpacing());
    layout->addWidget(m_summary);
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

void DeviceDetailDialog::reload()
{
    const QJsonObject before = m_file.root();
    if (m_file.load() == JsonFileContent::State::Object && m_file.root() != before)
        showDevice();
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
    m_pinForm->showState(pinState(m_file.root()));
}

void DeviceDetailDialog::complain(const QString& text)
{
    m_prompter.warning(this, tr("Error"), text);
}

void DeviceDetailDialog::onSetPin()
{
    const PinCheck check = m_pinForm->check();
    if (check != PinCheck::Ok) {
        complain(textOf(check));
        m_pinForm->correct(check);
        return;
    }
    switch (m_file.setPin(m_pinForm->pin(), m_serialNumber)) {
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
    m_pinForm->clear();
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
    m_pinForm->setEnabled(false);
    m_prompter.information(this, tr("Success"), tr("Device has been cleared successfully"));
}
