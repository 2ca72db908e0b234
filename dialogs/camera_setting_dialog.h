// camera_setting_dialog.h: asks what camera to create and looks at its source.
#pragma once

#include "dialogs/settings/camera_settings.h"
#include "dialogs/source_check.h"
#include "ui/prompter.h"

#include <QDialog>

class CameraSourceRows;
class SourcePreview;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QTimer;

/// Modal, GUI thread only, one instance per camera: run it with exec() and read settings() when it was accepted.
/// Checking a source blocks, for 10 s at most by default. The prompter outlives the dialog.
class CameraSettingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CameraSettingDialog(QWidget* parent = nullptr, Prompter& prompter = systemPrompter(),
                                 SourceCheck check = checkWithin());

    CameraSettings settings() const;

    void done(int result) override;

private slots:
    void onSourceToggled(bool isStream);
    void onTest();
    void onDroidCamTested();
    void onAccept();
    void onLastUsed();

private:
    void layOut();
    void addSource();
    void addVideoRows();
    void addIdentityRows();
    void showBusLimit();
    /// Why it takes over nothing, or not all; empty when the source has usable video.
    QString takeOver(const QString& source);
    void fill(const CameraSettings& settings);

    Prompter& m_prompter;
    const SourceCheck m_check;
    QFormLayout* m_form = nullptr;
    QLineEdit* m_vid = nullptr;
    QLineEdit* m_pid = nullptr;
    QLineEdit* m_deviceName = nullptr;
    CameraSourceRows* m_source = nullptr;
    SourcePreview* m_preview = nullptr;
    QComboBox* m_resolution = nullptr;
    QComboBox* m_frameRate = nullptr;
    QComboBox* m_uvcVersion = nullptr;
    QComboBox* m_usbVersion = nullptr;
    QComboBox* m_frameFormat = nullptr;
    QCheckBox* m_isoActive = nullptr;
    QLabel* m_busLimit = nullptr; ///< says what the bus can carry when it is less than what is chosen
    QTimer* m_droidCamTest = nullptr;
    QString m_droidCamUrl; ///< of the running test
};
