// microphone_setting_dialog.h: asks what microphone to create and tests its source in the network.
#pragma once

#include "dialogs/settings/microphone_settings.h"
#include "dialogs/source_check.h"
#include "ui/prompter.h"

#include <QDialog>

class MicrophoneDeviceForm;
class NetworkRow;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;

/// Modal, GUI thread only, one instance per microphone: run it with exec() and read settings() when it was accepted.
/// Checking a source blocks, for 10 s at most by default. The prompter outlives the dialog.
class MicrophoneSettingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit MicrophoneSettingDialog(QWidget* parent = nullptr, Prompter& prompter = systemPrompter(),
                                     SourceCheck check = checkWithin());

    MicrophoneSettings settings() const;

    void done(int result) override;

private slots:
    void onBrowse();
    void onAccept();
    void onCancel();
    void updateSampleRateOptions();
    void onInputSourceChanged();
    void onTestNetwork();
    void onLastUsed();
    void onDropped(const QString& path);

private:
    QGroupBox* sourceGroup();
    QGroupBox* audioGroup();
    void addSourceRows(QWidget* group);
    void showSourceRow(bool isNetwork);
    void layOut();
    void acceptNetwork(const MicrophoneSettings& chosen);
    void acceptFile(const MicrophoneSettings& chosen);
    /// Why the stream is of no use; empty when it opens and has sound.
    QString uselessStream(const QString& url) const;
    void fill(const MicrophoneSettings& settings);

    Prompter& m_prompter;
    const SourceCheck m_check;
    QFormLayout* m_audioForm = nullptr;
    MicrophoneDeviceForm* m_device = nullptr;
    QLabel* m_pathLabel = nullptr;
    QLineEdit* m_path = nullptr;
    QPushButton* m_browse = nullptr;
    QSpinBox* m_channels = nullptr;
    QComboBox* m_sampleRate = nullptr;
    QCheckBox* m_loop = nullptr;
    QRadioButton* m_file = nullptr;
    QRadioButton* m_ipCam = nullptr;
    QLabel* m_networkLabel = nullptr;
    NetworkRow* m_network = nullptr;
};
