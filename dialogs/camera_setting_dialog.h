// camera_setting_dialog.h: asks what camera to create and looks at its source.
#pragma once

#include "dialogs/camera_settings.h"
#include "dialogs/source_check.h"
#include "ui/prompter.h"

#include <QDialog>

class NetworkRow;
class SourcePreview;
class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
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
    void onSourceToggled();
    void onBrowse();
    void onTest();
    void onDroidCamTested();
    void onAccept();
    void onLastUsed();
    void onDropped(const QString& path);

private:
    void layOut();
    void addSourceRows();
    void addVideoRows();
    void addIdentityRows();
    void showSourceRow(bool isStream);
    CameraSettings::Source sourceKind() const;
    void showBusLimit();
    /// Why it takes over nothing, or not all; empty when the source has usable video.
    QString takeOver(const QString& source);
    void takeFile(const QString& path);
    void fill(const CameraSettings& settings);

    Prompter& m_prompter;
    const SourceCheck m_check;
    QFormLayout* m_form = nullptr;
    QLineEdit* m_vid = nullptr;
    QLineEdit* m_pid = nullptr;
    QLineEdit* m_deviceName = nullptr;
    QLabel* m_pathLabel = nullptr;
    QLineEdit* m_path = nullptr;
    QPushButton* m_browse = nullptr;
    SourcePreview* m_preview = nullptr;
    QComboBox* m_resolution = nullptr;
    QComboBox* m_frameRate = nullptr;
    QComboBox* m_uvcVersion = nullptr;
    QComboBox* m_usbVersion = nullptr;
    QComboBox* m_frameFormat = nullptr;
    QRadioButton* m_file = nullptr;
    QRadioButton* m_ipCamera = nullptr;
    QRadioButton* m_droidCam = nullptr;
    NetworkRow* m_network = nullptr;
    QCheckBox* m_isoActive = nullptr;
    QLabel* m_busLimit = nullptr; ///< says what the bus can carry when it is less than what is chosen
    QTimer* m_droidCamTest = nullptr;
    QString m_droidCamUrl; ///< of the running test
};
