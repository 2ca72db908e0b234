#include "dialogs/camera_source_rows.h"

#include "dialogs/network_row.h"
#include "ui/form_rows.h"
#include "ui/path_edit.h"
#include "ui/prompter.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

CameraSourceRows::CameraSourceRows(QWidget* window, QFormLayout* form, Prompter& prompter)
    : QObject(window)
    , m_window(window)
    , m_form(form)
    , m_prompter(prompter)
{
    m_file = named("file", new QRadioButton(tr("Video File"), window));
    m_ipCamera = named("ipCamera", new QRadioButton(tr("IP Camera"), window));
    m_droidCam = named("droidCam", new QRadioButton(tr("DroidCam"), window));
    m_file->setChecked(true);
    m_droidCam->setEnabled(false);
    for (QRadioButton* button : {m_file, m_ipCamera, m_droidCam})
        connect(button, &QRadioButton::toggled, this, &CameraSourceRows::onToggled);
    addFormRow(form, tr("Input Source:"), {m_file, m_ipCamera, m_droidCam});

    m_path = named("path", new PathEdit(window));
    connect(m_path, &QLineEdit::textChanged, this, &CameraSourceRows::pathChanged);
    m_browse = named("browse", new QPushButton(tr("Browse..."), window));
    connect(m_browse, &QPushButton::clicked, this, &CameraSourceRows::onBrowse);
    m_pathLabel = addFormRow(form, tr("Video File Path:"), {m_path, m_browse}, m_path);

    m_network = new NetworkRow(window);
    connect(m_network, &NetworkRow::testRequested, this, &CameraSourceRows::testRequested);
    form->addRow(m_network);
}

CameraSettings::Source CameraSourceRows::sourceKind() const
{
    if (m_ipCamera->isChecked())
        return CameraSettings::Source::IpCamera;
    if (m_droidCam->isChecked())
        return CameraSettings::Source::DroidCam;
    return m_file->isChecked() ? CameraSettings::Source::File : CameraSettings::Source::None;
}

void CameraSourceRows::readInto(CameraSettings& settings) const
{
    settings.sourceKind = sourceKind();
    settings.path = m_path->displayText(); // as shown: a pasted line end is still in text()
    settings.network = m_network->source();
}

void CameraSourceRows::fill(const CameraSettings& settings)
{
    const bool isStream = settings.sourceKind == CameraSettings::Source::IpCamera;
    (isStream ? m_ipCamera : m_file)->setChecked(true);
    m_path->setText(settings.path);
    m_network->setSource(settings.network);
}

void CameraSourceRows::chooseFile(const QString& path)
{
    m_file->setChecked(true);
    m_path->setText(path);
}

void CameraSourceRows::showSourceRow(bool isStream)
{
    constexpr int kIndex = 1; // below the choice of the source
    setRowVisible(m_form, kIndex, m_pathLabel, m_path->parentWidget(), !isStream);
    m_path->setVisible(!isStream);
    m_browse->setVisible(!isStream);
    setRowVisible(m_form, kIndex, nullptr, m_network, isStream);
}

/// Called for the button that goes off as well as for the one that goes on, when both are already in their new state.
void CameraSourceRows::onToggled()
{
    const bool isStream = m_ipCamera->isChecked() || m_droidCam->isChecked();
    showSourceRow(isStream);
    emit sourceToggled(isStream);
}

void CameraSourceRows::onBrowse()
{
    if (m_ipCamera->isChecked() || m_droidCam->isChecked())
        return;
    const QString chosen =
        m_prompter.openFile(m_window, tr("Select Video File"), QString(),
                            tr("Video Files (*.mp4 *.avi *.mov *.mkv *.h264 *.h265);;All Files (*)"));
    if (chosen.isEmpty())
        return;
    m_path->setText(chosen);
    emit fileChosen(chosen);
}
