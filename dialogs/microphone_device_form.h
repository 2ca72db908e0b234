// microphone_device_form.h: the part of the microphone settings that says what the USB device is.
#pragma once

#include "dialogs/settings/microphone_settings.h"

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QLineEdit;

/// UAC 2.0 locks USB 3.0, and a source in the network locks UAC 1.0.
class MicrophoneDeviceForm : public QGroupBox
{
    Q_OBJECT

public:
    explicit MicrophoneDeviceForm(QWidget* parent);

    void readInto(MicrophoneSettings& settings) const;
    void fill(const MicrophoneSettings& settings);
    void lockForNetwork(bool isNetwork);

    /// The field that the fault is in; null when it is not one of these.
    QLineEdit* fieldOf(MicrophoneSettings::Fault fault) const;

private:
    QLineEdit* makeIdField(const char* name, const QString& text, const QString& placeholder);
    void onUacVersionChanged(int index);

    QLineEdit* m_vid = nullptr;
    QLineEdit* m_pid = nullptr;
    QLineEdit* m_deviceName = nullptr;
    QComboBox* m_usbVersion = nullptr;
    QComboBox* m_uacVersion = nullptr;
    QCheckBox* m_realTime = nullptr;
};
