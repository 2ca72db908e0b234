// camera_source_rows.h: the rows of the camera settings that say where the pictures come from.
#pragma once

#include "dialogs/settings/camera_settings.h"

#include <QObject>

class NetworkRow;
class Prompter;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QWidget;

/// A choice of three sources, and below it the row of the one that is chosen: a file's path or an address. The widgets
/// belong to `window`, whose form they stand in.
class CameraSourceRows : public QObject
{
    Q_OBJECT

public:
    CameraSourceRows(QWidget* window, QFormLayout* form, Prompter& prompter);

    void readInto(CameraSettings& settings) const;
    void fill(const CameraSettings& settings);

    /// Chooses the file as the source.
    void chooseFile(const QString& path);

    /// Takes out the row of the address. Until then both show, so that the window learns what width they need.
    void showOneRow() { showSourceRow(false); }

    NetworkRow& network() const { return *m_network; }

signals:
    void sourceToggled(bool isStream);
    void pathChanged();
    /// By the file chooser.
    void fileChosen(const QString& path);
    void testRequested();

private:
    CameraSettings::Source sourceKind() const;
    void showSourceRow(bool isStream);
    void onToggled();
    void onBrowse();

    QWidget* m_window;
    QFormLayout* m_form;
    Prompter& m_prompter;
    QRadioButton* m_file = nullptr;
    QRadioButton* m_ipCamera = nullptr;
    QRadioButton* m_droidCam = nullptr;
    QLabel* m_pathLabel = nullptr;
    QLineEdit* m_path = nullptr;
    QPushButton* m_browse = nullptr;
    NetworkRow* m_network = nullptr;
};
