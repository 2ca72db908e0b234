#include "dialogs/camera_setting_dialog.h"

#include "devices/camera_limits.h"
#include "dialogs/camera_source_rows.h"
#include "dialogs/network_row.h"
#include "dialogs/settings/field_patterns.h"
#include "dialogs/source_preview.h"
#include "runtime/last_used.h"
#include "ui/file_drop.h"
#include "ui/form_rows.h"
#include "ui/png.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int kLeastWidth = 400;
const QString kLastUsed = QStringLiteral("camera");
constexpr int kDroidCamTestMilliseconds = 2000;

QComboBox* choice(const char* name, const QStringList& texts, QWidget* parent)
{
    auto* combo = named(name, new QComboBox(parent));
    combo->addItems(texts);
    return combo;
}

/// Selects `text`, which goes on top of the list when it is not in it yet.
void select(QComboBox* combo, const QString& text)
{
    int index = combo->findText(text);
    if (index < 0) {
        index = 0;
        combo->insertItem(index, text);
    }
    combo->setCurrentIndex(index);
}

} // namespace

CameraSettingDialog::CameraSettingDialog(QWidget* parent, Prompter& prompter, SourceCheck check)
    : QDialog(parent)
    , m_prompter(prompter)
    , m_check(std::move(check))
{
    setWindowTitle(tr("Camera Settings"));
    setWindowIcon(readPng(QStringLiteral(":/icons/res/camera.png")));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setMinimumWidth(kLeastWidth);
    layOut();

    m_droidCamTest = named("droidCamTest", new QTimer(this));
    m_droidCamTest->setSingleShot(true);
    m_droidCamTest->setInterval(kDroidCamTestMilliseconds);
    connect(m_droidCamTest, &QTimer::timeout, this, &CameraSettingDialog::onDroidCamTested);
}

void CameraSettingDialog::layOut()
{
    auto* layout = new QVBoxLayout(this);
    m_form = new QFormLayout;
    layout->addLayout(m_form);
    addSource();
    addVideoRows();
    addIdentityRows();
    m_isoActive = named("isoActive", new QCheckBox(tr("ISO Active Mode Transfer"), this));
    m_form->addRow(m_isoActive);
    m_busLimit = named("busLimit", new QLabel(this));
    m_busLimit->setWordWrap(true);
    m_busLimit->hide();
    for (QComboBox* combo : {m_resolution, m_frameRate, m_usbVersion, m_frameFormat})
        connect(combo, &QComboBox::currentTextChanged, this, &CameraSettingDialog::showBusLimit);
    connect(m_isoActive, &QCheckBox::toggled, this, &CameraSettingDialog::showBusLimit);
    m_preview = named("preview", new SourcePreview(this));
    addFormRow(m_form, tr("Preview:"), m_preview);
    connect(m_source, &CameraSourceRows::pathChanged, m_preview, &SourcePreview::forget);
    layout->addStretch();

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &CameraSettingDialog::onAccept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CameraSettingDialog::reject);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true); // the keyboard's, wherever the focus is but on a button
    QPushButton* lastUsed = named("lastUsed", buttons->addButton(tr("Last used"), QDialogButtonBox::ResetRole));
    lastUsed->setToolTip(tr("Fills in the settings of the camera that was created last"));
    lastUsed->setEnabled(!lastUsedSettings(kLastUsed).isEmpty());
    connect(lastUsed, &QPushButton::clicked, this, &CameraSettingDialog::onLastUsed);
    layout->addWidget(buttons);
    takeDroppedFile(*this, [this](const QString& path) {
        m_source->chooseFile(path);
        takeOver(path);
    });

    // The width that every row needs, so that another source does not change it.
    const int width = sizeHint().width();
    m_source->showOneRow();
    resize(width, sizeHint().height());
}

void CameraSettingDialog::addSource()
{
    m_source = new CameraSourceRows(this, m_form, m_prompter);
    connect(m_source, &CameraSourceRows::sourceToggled, this, &CameraSettingDialog::onSourceToggled);
    connect(m_source, &CameraSourceRows::fileChosen, this, &CameraSettingDialog::takeOver);
    connect(m_source, &CameraSourceRows::testRequested, this, &CameraSettingDialog::onTest);
}

void CameraSettingDialog::addVideoRows()
{
    m_resolution = choice("resolution", cameraResolutions(), this);
    m_frameRate = choice("frameRate", cameraFrameRates(), this);
    m_uvcVersion = choice("uvcVersion", cameraUvcChoices(), this);
    m_usbVersion = choice("usbVersion", cameraUsbChoices(), this);
    m_frameFormat = choice("frameFormat", cameraFrameFormats(), this);
    addFormRow(m_form, tr("Resolution:"), m_resolution);
    addFormRow(m_form, tr("Frame Rate:"), m_frameRate);
    addFormRow(m_form, tr("UVC Version:"), m_uvcVersion);
    addFormRow(m_form, tr("USB Version:"), m_usbVersion);
    addFormRow(m_form, tr("UVC Frame Format:"), m_frameFormat);
}

void CameraSettingDialog::addIdentityRows()
{
    const CameraSettings initial;
    m_vid = named("vid", new QLineEdit(initial.vid, this));
    m_pid = named("pid", new QLineEdit(initial.pid, this));
    m_deviceName = named("deviceName", new QLineEdit(initial.deviceName, this));
    auto* id = new QRegularExpressionValidator(QRegularExpression(patterns::kPrefixedId), this);
    m_vid->setValidator(id);
    m_pid->setValidator(id);
    addFormRow(m_form, tr("USB VID:"), m_vid);
    addFormRow(m_form, tr("USB PID:"), m_pid);
    addFormRow(m_form, tr("Device Name:"), m_deviceName);
}

CameraSettings CameraSettingDialog::settings() const
{
    CameraSettings chosen;
    chosen.vid = m_vid->text();
    chosen.pid = m_pid->text();
    chosen.deviceName = m_deviceName->displayText(); // as shown: a pasted line end is still in text()
    m_source->readInto(chosen);
    chosen.resolution = m_resolution->currentText();
    chosen.frameRate = m_frameRate->currentText();
    chosen.frameFormat = m_frameFormat->currentText();
    chosen.usbChoice = m_usbVersion->currentText();
    chosen.uvcChoice = m_uvcVersion->currentText();
    chosen.isochronousActive = m_isoActive->isChecked();
    return chosen;
}

void CameraSettingDialog::onSourceToggled(bool isStream)
{
    m_isoActive->setChecked(isStream);
    m_preview->forget();
}

/// A remark only: the device says the same and ends.
void CameraSettingDialog::showBusLimit()
{
    const CameraPictures pictures = CameraPictures::fromParameters(settings().parameterList());
    const bool isTooMuch = !cameraBusFault(pictures).isEmpty();
    if (isTooMuch)
        m_busLimit->setText(
            tr("The bus cannot carry this. At this size it carries at most %1 pictures a second, at this "
               "rate at most %2.")
                .arg(largestRate(pictures))
                .arg(largestSize(pictures)));
    setRowVisible(m_form, m_form->rowCount(), nullptr, m_busLimit, isTooMuch);
}

/// Selects size and rate of a source.
QString CameraSettingDialog::takeOver(const QString& source)
{
    const SourceProbeResult found = runCheck(m_check, source, SourceProbe::Kind::Video);
    const QString useless = uselessReason(found, SourceProbe::Kind::Video);
    m_preview->await(found.hasVideo ? found.picture : nullptr);
    if (!found.opened || !found.hasVideo || found.width <= 0 || found.height <= 0)
        return useless;
    select(m_resolution, QStringLiteral("%1x%2").arg(found.width).arg(found.height));
    if (found.frameRate > 0)
        select(m_frameRate, QString::number(int(found.frameRate + 0.5)));
    return useless;
}

void CameraSettingDialog::onLastUsed()
{
    if (const auto kept = cameraSettingsFrom(lastUsedSettings(kLastUsed)).settings)
        fill(*kept);
}

void CameraSettingDialog::fill(const CameraSettings& settings)
{
    m_source->fill(settings);
    select(m_resolution, settings.resolution);
    select(m_frameRate, settings.frameRate);
    m_uvcVersion->setCurrentText(settings.uvcChoice);
    m_usbVersion->setCurrentText(settings.usbChoice);
    m_frameFormat->setCurrentText(settings.frameFormat);
    m_vid->setText(settings.vid);
    m_pid->setText(settings.pid);
    m_deviceName->setText(settings.deviceName);
    m_isoActive->setChecked(settings.isochronousActive);
}

void CameraSettingDialog::onTest()
{
    const CameraSettings chosen = settings();
    if (!m_source->network().requireComplete(m_prompter, tr("Warning")))
        return;
    m_source->network().setTesting(true);
    if (chosen.sourceKind == CameraSettings::Source::DroidCam) {
        m_droidCamUrl = chosen.streamUrl();
        m_droidCamTest->start();
    } else if (chosen.sourceKind == CameraSettings::Source::IpCamera) {
        const QString useless = takeOver(chosen.streamUrl());
        m_source->network().setTesting(false);
        if (useless.isEmpty())
            m_prompter.information(this, tr("Test Result"), tr("IP Camera connection successful!\n"));
        else
            m_prompter.warning(
                this, tr("Test Result"),
                tr("IP Camera connection failed!\nPlease check IP address, port and network connection.\n"), useless);
    }
}

/// That source is not connected to from here: its test always succeeds.
void CameraSettingDialog::onDroidCamTested()
{
    m_source->network().setTesting(false);
    m_prompter.information(this, tr("Test Result"), tr("HTTP connection successful!\nURL: %1").arg(m_droidCamUrl));
}

void CameraSettingDialog::onAccept()
{
    const CameraSettings chosen = settings();
    if (chosen.sourceKind != CameraSettings::Source::IpCamera) {
        accept();
        return;
    }
    if (!m_source->network().requireComplete(m_prompter, tr("Warning")))
        return;
    const QString useless = takeOver(chosen.streamUrl());
    if (useless.isEmpty()) {
        accept();
        return;
    }
    m_prompter.warning(this, tr("Error"),
                       tr("Failed to connect to IP Camera!\nPlease check IP address, port and network connection.\n"),
                       useless);
    reject();
}

/// A test that still runs would report into a dialog that is no longer there.
void CameraSettingDialog::done(int result)
{
    if (m_droidCamTest->isActive()) {
        m_droidCamTest->stop();
        m_source->network().setTesting(false);
    }
    if (result == Accepted)
        rememberLastUsed(kLastUsed, cameraAssignments(settings()));
    QDialog::done(result);
}
