#include "dialogs/microphone_device_form.h"

#include "dialogs/settings/field_patterns.h"
#include "ui/form_rows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QRegularExpressionValidator>

namespace {

constexpr int kUac1Index = 0;
constexpr int kUac2Index = 1;
constexpr int kUsb3Index = 1;

} // namespace

MicrophoneDeviceForm::MicrophoneDeviceForm(QWidget* parent) : QGroupBox(tr("USB Device Settings"), parent)
{
    const MicrophoneSettings initial;
    m_vid = makeIdField("vid", initial.vid, tr("e.g., 1d6b"));
    m_pid = makeIdField("pid", initial.pid, tr("e.g., 0002"));
    m_deviceName = named("deviceName", new QLineEdit(initial.deviceName, this));
    m_deviceName->setPlaceholderText(tr("e.g., USB Microphone"));
    m_usbVersion = named("usbVersion", new QComboBox(this));
    m_usbVersion->addItem(QStringLiteral("2.0"), QStringLiteral("0"));
    m_usbVersion->addItem(QStringLiteral("3.0"), QStringLiteral("1"));
    m_uacVersion = named("uacVersion", new QComboBox(this));
    m_uacVersion->addItem(tr("UAC 1.0"), QStringLiteral("1.0"));
    m_uacVersion->addItem(tr("UAC 2.0"), QStringLiteral("2.0"));
    connect(m_uacVersion, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &MicrophoneDeviceForm::onUacVersionChanged);
    m_realTime = named("realTime", new QCheckBox(tr("Real-time Mode"), this));
    m_realTime->setToolTip(tr("Enable real-time audio streaming mode"));

    auto* form = new QFormLayout(this);
    addFormRow(form, tr("USB VID:"), m_vid);
    addFormRow(form, tr("USB PID:"), m_pid);
    addFormRow(form, tr("Device Name:"), m_deviceName);
    addFormRow(form, tr("USB Version:"), m_usbVersion);
    addFormRow(form, tr("UAC Version:"), m_uacVersion);
    addFormRow(form, tr("RT Mode:"), m_realTime);
}

QLineEdit* MicrophoneDeviceForm::makeIdField(const char* name, const QString& text, const QString& placeholder)
{
    auto* field = named(name, new QLineEdit(text, this));
    field->setPlaceholderText(placeholder);
    field->setValidator(new QRegularExpressionValidator(QRegularExpression(patterns::kPlainId), field));
    return field;
}

void MicrophoneDeviceForm::readInto(MicrophoneSettings& settings) const
{
    settings.vid = m_vid->text();
    settings.pid = m_pid->text();
    settings.deviceName = m_deviceName->displayText(); // as shown: a pasted line end is still in text()
    settings.usbVersion = m_usbVersion->currentData().toString();
    settings.uacVersion = m_uacVersion->currentData().toString();
    settings.realTime = m_realTime->isChecked();
}

void MicrophoneDeviceForm::fill(const MicrophoneSettings& settings)
{
    m_vid->setText(settings.vid);
    m_pid->setText(settings.pid);
    m_deviceName->setText(settings.deviceName);
    m_uacVersion->setCurrentIndex(m_uacVersion->findData(settings.uacVersion));
    m_usbVersion->setCurrentIndex(m_usbVersion->findData(settings.usbVersion));
    m_realTime->setChecked(settings.realTime);
}

void MicrophoneDeviceForm::lockForNetwork(bool isNetwork)
{
    if (isNetwork)
        m_uacVersion->setCurrentIndex(kUac1Index);
    m_uacVersion->setEnabled(!isNetwork);
    m_usbVersion->setEnabled(true);
}

void MicrophoneDeviceForm::onUacVersionChanged(int index)
{
    if (index == kUac2Index)
        m_usbVersion->setCurrentIndex(kUsb3Index);
    m_usbVersion->setEnabled(index != kUac2Index);
}

QLineEdit* MicrophoneDeviceForm::fieldOf(MicrophoneSettings::Fault fault) const
{
    switch (fault) {
    case MicrophoneSettings::Fault::Vid:
        return m_vid;
    case MicrophoneSettings::Fault::Pid:
        return m_pid;
    case MicrophoneSettings::Fault::DeviceName:
        return m_deviceName;
    case MicrophoneSettings::Fault::Path:
    case MicrophoneSettings::Fault::None:
        break;
    }
    return nullptr;
}
