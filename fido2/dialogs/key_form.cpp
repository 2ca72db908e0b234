#include "fido2/dialogs/key_form.h"

#include "runtime/last_used.h"
#include "ui/dialog_parts.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

const QString kLastUsedKey = QStringLiteral("key");

constexpr int kFieldWidth = 420; // serial numbers fit; the dialog is as wide as its table, which is too wide for them

bool isBlank(const QLineEdit* field)
{
    return field->text().trimmed().isEmpty();
}

bool hasNoPrefix(const QLineEdit* id)
{
    return !id->text().startsWith(QStringLiteral("0x"));
}

bool isNoNumber(const QLineEdit* id)
{
    constexpr int kHexadecimal = 16;
    bool converts = false;
    id->text().toULongLong(&converts, kHexadecimal); // blanks behind the digits do not matter
    return !converts;
}

} // namespace

KeyForm::KeyForm(QWidget* parent) : QGroupBox(tr("Device Configuration"), parent)
{
    const Fido2Parameters initial;
    m_form = new QFormLayout(this);
    m_form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_vid = addLine("vid", tr("USB VID:"), tr("Enter USB Vendor ID (e.g., 0x1234)"), initial.vid);
    m_pid = addLine("pid", tr("USB PID:"), tr("Enter USB Product ID (e.g., 0x5678)"), initial.pid);
    m_usbVersion = named("usbVersion", new QComboBox);
    m_usbVersion->addItems({QStringLiteral("2.0"), QStringLiteral("3.0")});
    m_form->addRow(tr("USB Version:"), m_usbVersion);
    m_name = addLine("deviceName", tr("Device Name:"), tr("Enter device name"), initial.name);
    addSerialRow();
    m_supportsPin = named("supportsPin", new QCheckBox);
    m_supportsPin->setChecked(true);
    const QLabel* label = addFormRow(m_form, tr("Support PIN:"), m_supportsPin);
    m_supportsPin->setMinimumHeight(label->sizeHint().height()); // it has no text that would put it on the label's line
}

QLineEdit* KeyForm::addLine(const char* objectName, const QString& label, const QString& placeholder,
                            const QString& text)
{
    auto* line = named(objectName, new QLineEdit(text));
    line->setPlaceholderText(placeholder);
    line->setMaximumWidth(kFieldWidth);
    m_form->addRow(label, line);
    return line;
}

void KeyForm::addSerialRow()
{
    auto* row = new QHBoxLayout;
    m_serial = named("serialNumber", new QLineEdit);
    m_serial->setPlaceholderText(tr("Device serial number"));
    widenFor(m_serial, m_serial->placeholderText());
    m_serial->setMaximumWidth(kFieldWidth);
    row->addWidget(m_serial, 1);
    QPushButton* generate = named("generate", makePlainButton(tr("Generate")));
    row->addWidget(generate);
    QPushButton* select = named("selectFile", makePlainButton(tr("Select Credentials File")));
    row->addWidget(select);
    row->addStretch();
    m_form->addRow(makeLabelFor(m_serial, tr("Device Serial Number:")), row);
    connect(m_serial, &QLineEdit::textChanged, this, &KeyForm::serialNumberChanged);
    connect(generate, &QPushButton::clicked, this, &KeyForm::generateRequested);
    connect(select, &QPushButton::clicked, this, &KeyForm::selectFileRequested);
}

Fido2Parameters KeyForm::parameters() const
{
    Fido2Parameters chosen;
    // displayText: a pasted line end is still in text() and would begin another parameter.
    chosen.vid = m_vid->displayText();
    chosen.pid = m_pid->displayText();
    chosen.name = m_name->displayText().trimmed();
    chosen.usbVersionChoice = m_usbVersion->currentText();
    chosen.serialNumber = m_serial->displayText().trimmed();
    chosen.supportsPin = m_supportsPin->isChecked();
    return chosen;
}

KeyIdentity KeyForm::identity() const
{
    return {m_serial->displayText(), m_name->displayText(),       m_vid->displayText(),
            m_pid->displayText(),    m_usbVersion->currentText(), m_supportsPin->isChecked()};
}

void KeyForm::setSerialNumber(const QString& serial)
{
    m_serial->setText(serial);
}

void KeyForm::take(const QJsonObject& deviceInfo)
{
    const struct
    {
        QLineEdit* field;
        QString key;
    } texts[] = {
        {m_serial, QStringLiteral("serialNumber")},
        {m_vid, QStringLiteral("vid")},
        {m_pid, QStringLiteral("pid")},
        {m_name, QStringLiteral("deviceName")},
    };
    for (const auto& [field, key] : texts) {
        if (const QString text = deviceInfo.value(key).toString(); !text.isEmpty())
            field->setText(text);
    }
    const int version = m_usbVersion->findText(deviceInfo.value(QStringLiteral("usbVersion")).toString());
    if (version >= 0)
        m_usbVersion->setCurrentIndex(version);
    if (const QJsonValue supportsPin = deviceInfo.value(QStringLiteral("supportsPin")); supportsPin.isBool())
        m_supportsPin->setChecked(supportsPin.toBool());
}

std::optional<KeyForm::Fault> KeyForm::findFault() const
{
    const struct
    {
        Fault fault;
        bool isThere;
    } checks[] = {
        {{m_vid, tr("Please enter USB VID")}, isBlank(m_vid)},
        {{m_pid, tr("Please enter USB PID")}, isBlank(m_pid)},
        {{m_name, tr("Please enter device name")}, isBlank(m_name)},
        {{m_vid, tr("VID and PID must start with '0x'")}, hasNoPrefix(m_vid)},
        {{m_pid, tr("VID and PID must start with '0x'")}, hasNoPrefix(m_pid)},
        {{m_vid, tr("Invalid VID or PID format")}, isNoNumber(m_vid)},
        {{m_pid, tr("Invalid VID or PID format")}, isNoNumber(m_pid)},
    };
    for (const auto& [fault, isThere] : checks) {
        if (isThere)
            return fault;
    }
    return {};
}

bool KeyForm::hasLastUsed()
{
    return !lastUsedSettings(kLastUsedKey).isEmpty();
}

void KeyForm::fillInLastUsed()
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
void KeyForm::rememberAsLastUsed() const
{
    QStringList texts;
    for (const QLineEdit* line : {m_vid, m_pid, m_name})
        texts << line->objectName() + QLatin1Char('=') + line->displayText();
    texts << m_usbVersion->objectName() + QLatin1Char('=') + m_usbVersion->currentText()
          << m_supportsPin->objectName() + QLatin1Char('=') + parameter::flag(m_supportsPin->isChecked());
    rememberLastUsed(kLastUsedKey, texts);
}
