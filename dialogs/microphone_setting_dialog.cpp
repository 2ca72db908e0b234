#include "dialogs/microphone_setting_dialog.h"

#include "dialogs/microphone_device_form.h"
#include "dialogs/network_row.h"
#include "runtime/last_used.h"
#include "ui/dialog_parts.h"
#include "ui/file_drop.h"
#include "ui/form_rows.h"
#include "ui/path_edit.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

const QString kLastUsed = QStringLiteral("microphone");

} // namespace

MicrophoneSettingDialog::MicrophoneSettingDialog(QWidget* parent, Prompter& prompter, SourceCheck check)
    : QDialog(parent)
    , m_prompter(prompter)
    , m_check(std::move(check))
{
    setWindowTitle(tr("Microphone Configuration"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    layOut();
    updateSampleRateOptions();
    connect(m_channels, qOverload<int>(&QSpinBox::valueChanged), this,
            &MicrophoneSettingDialog::updateSampleRateOptions);
}

void MicrophoneSettingDialog::layOut()
{
    auto* layout = new QVBoxLayout(this);
    auto* body = new QWidget(this);
    auto* groups = new QVBoxLayout(body);
    groups->setContentsMargins(0, 0, 0, 0);
    m_device = new MicrophoneDeviceForm(this);
    groups->addWidget(m_device);
    groups->addWidget(sourceGroup());
    groups->addWidget(audioGroup());
    groups->addStretch();

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &MicrophoneSettingDialog::onAccept);
    connect(buttons, &QDialogButtonBox::rejected, this, &MicrophoneSettingDialog::onCancel);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true); // the keyboard's, wherever the focus is but on a button
    QPushButton* lastUsed = named("lastUsed", buttons->addButton(tr("Last used"), QDialogButtonBox::ResetRole));
    lastUsed->setToolTip(tr("Fills in the settings of the microphone that was created last"));
    lastUsed->setEnabled(!lastUsedSettings(kLastUsed).isEmpty());
    connect(lastUsed, &QPushButton::clicked, this, &MicrophoneSettingDialog::onLastUsed);
    layout->addWidget(buttons);
    takeDroppedFile(*this, [this](const QString& path) { onDropped(path); });

    alignFormLabels(*this);
    // The width that every row needs, so that another source does not change it.
    const int widest = body->sizeHint().width();
    showSourceRow(false);
    m_audioForm->activate();
    layout->insertWidget(0, makeScrollable(body), 1);
    resizeOnScreen(*this, sizeHint() + QSize(widest - body->sizeHint().width(), 0));
}

QGroupBox* MicrophoneSettingDialog::sourceGroup()
{
    auto* group = new QGroupBox(tr("Audio Input Source"), this);
    m_file = named("file", new QRadioButton(tr("Audio File"), group));
    m_ipCam = named("ipCam", new QRadioButton(tr("IPCam"), group));
    m_file->setChecked(true);
    auto* layout = new QHBoxLayout(group);
    for (QRadioButton* button : {m_file, m_ipCam}) {
        layout->addWidget(button);
        connect(button, &QRadioButton::toggled, this, &MicrophoneSettingDialog::onInputSourceChanged);
    }
    layout->addStretch();
    return group;
}

QGroupBox* MicrophoneSettingDialog::audioGroup()
{
    const MicrophoneSettings initial;
    auto* group = new QGroupBox(tr("Audio Settings"), this);
    m_audioForm = new QFormLayout(group);
    addSourceRows(group);

    m_channels = named("channels", new QSpinBox(group));
    m_channels->setRange(1, kMostMicrophoneChannels);
    m_channels->setValue(initial.channels);
    m_channels->setToolTip(tr("Number of audio channels (1=mono, 2=stereo, etc.)"));
    m_channels->setEnabled(false);
    addFormRow(m_audioForm, tr("Channels:"), m_channels);

    m_sampleRate = named("sampleRate", new QComboBox(group));
    m_sampleRate->setEnabled(false);
    addFormRow(m_audioForm, tr("Sample Rate (Hz):"), m_sampleRate);

    m_loop = named("loop", new QCheckBox(tr("Loop audio playback"), group));
    m_loop->setToolTip(tr("Automatically restart audio playback when finished"));
    m_loop->setChecked(initial.loop);
    addFormRow(m_audioForm, tr("Playback:"), m_loop);
    return group;
}

void MicrophoneSettingDialog::addSourceRows(QWidget* group)
{
    m_path = named("path", new PathEdit(MicrophoneSettings().path, group));
    m_path->setPlaceholderText(tr("Select audio file..."));
    m_browse = named("browse", new QPushButton(tr("Browse..."), group));
    connect(m_browse, &QPushButton::clicked, this, &MicrophoneSettingDialog::onBrowse);
    m_pathLabel = addFormRow(m_audioForm, tr("Audio File:"), {m_path, m_browse}, m_path);

    m_network = new NetworkRow(group);
    connect(m_network, &NetworkRow::testRequested, this, &MicrophoneSettingDialog::onTestNetwork);
    m_networkLabel = addFormRow(m_audioForm, tr("Network:"), m_network);
}

void MicrophoneSettingDialog::showSourceRow(bool isNetwork)
{
    setRowVisible(m_audioForm, 0, m_pathLabel, m_path->parentWidget(), !isNetwork);
    m_path->setVisible(!isNetwork);
    m_browse->setVisible(!isNetwork);
    setRowVisible(m_audioForm, 0, m_networkLabel, m_network, isNetwork);
}

MicrophoneSettings MicrophoneSettingDialog::settings() const
{
    MicrophoneSettings chosen;
    m_device->readInto(chosen);
    chosen.isNetwork = m_ipCam->isChecked();
    chosen.path = m_path->displayText(); // as shown: a pasted line end is still in text()
    chosen.network = m_network->source();
    chosen.channels = m_channels->value();
    chosen.sampleRate = m_sampleRate->currentText().toInt();
    chosen.loop = m_loop->isChecked();
    return chosen;
}

void MicrophoneSettingDialog::onBrowse()
{
    const QString chosen = m_prompter.openFile(this, tr("Select Audio File"), QString(),
                                               tr("Audio Files (*.wav *.mp3 *.aac *.flac *.ogg);;All Files (*.*)"));
    if (!chosen.isEmpty())
        m_path->setText(chosen);
}

void MicrophoneSettingDialog::onAccept()
{
    const MicrophoneSettings chosen = settings();
    if (chosen.isNetwork)
        acceptNetwork(chosen);
    else
        acceptFile(chosen);
}

void MicrophoneSettingDialog::acceptNetwork(const MicrophoneSettings& chosen)
{
    if (!m_network->requireComplete(m_prompter, tr("Warning")))
        return;
    const QString useless = uselessStream(chosen.testedUrl());
    if (useless.isEmpty()) {
        accept();
        return;
    }
    m_prompter.warning(
        this, tr("Error"),
        tr("Failed to connect to IP Audio Stream!\nPlease check IP address, port and network connection."), useless);
    m_network->setFocus();
}

void MicrophoneSettingDialog::acceptFile(const MicrophoneSettings& chosen)
{
    const MicrophoneSettings::Fault fault = chosen.findFault();
    if (fault != MicrophoneSettings::Fault::None) {
        m_prompter.warning(this, tr("Invalid Input"), textOf(fault));
        QLineEdit* field = m_device->fieldOf(fault);
        (field ? field : m_path)->setFocus();
        return;
    }
    const QString question = tr("The selected audio file does not exist. Do you want to continue anyway?");
    if (!QFileInfo::exists(chosen.path) && !m_prompter.question(this, tr("File Not Found"), question)) {
        m_path->setFocus();
        return;
    }
    accept();
}

void MicrophoneSettingDialog::onCancel()
{
    reject();
}

void MicrophoneSettingDialog::updateSampleRateOptions()
{
    const QString remembered = m_sampleRate->currentText();
    m_sampleRate->clear();
    m_sampleRate->addItems(microphoneSampleRates(m_channels->value()));
    const int index = m_sampleRate->findText(remembered);
    m_sampleRate->setCurrentIndex(index >= 0 ? index : m_sampleRate->findText(QString::number(kDefaultMicrophoneRate)));
}

void MicrophoneSettingDialog::onInputSourceChanged()
{
    const bool isNetwork = m_ipCam->isChecked();
    showSourceRow(isNetwork);
    m_device->lockForNetwork(isNetwork);
}

void MicrophoneSettingDialog::onTestNetwork()
{
    const MicrophoneSettings chosen = settings();
    if (!m_network->requireComplete(m_prompter, tr("Warning")))
        return;
    m_network->setTesting(true);
    const QString useless = uselessStream(chosen.testedUrl());
    m_network->setTesting(false);
    if (useless.isEmpty())
        m_prompter.information(this, tr("Test Result"),
                               tr("IP Audio Stream connection successful!\nIP: %1 Port: %2")
                                   .arg(chosen.network.address, chosen.network.port));
    else
        m_prompter.warning(
            this, tr("Test Result"),
            tr("IP Audio Stream connection failed!\nPlease check IP address, port and network connection."), useless);
}

QString MicrophoneSettingDialog::uselessStream(const QString& url) const
{
    return uselessReason(runCheck(m_check, url, SourceProbe::Kind::Audio), SourceProbe::Kind::Audio);
}

void MicrophoneSettingDialog::onLastUsed()
{
    if (const auto kept = microphoneSettingsFrom(lastUsedSettings(kLastUsed)).settings)
        fill(*kept);
}

void MicrophoneSettingDialog::fill(const MicrophoneSettings& settings)
{
    (settings.isNetwork ? m_ipCam : m_file)->setChecked(true);
    m_device->fill(settings);
    m_path->setText(settings.path);
    m_network->setSource(settings.network);
    m_loop->setChecked(settings.loop);
}

void MicrophoneSettingDialog::onDropped(const QString& path)
{
    m_file->setChecked(true);
    m_path->setText(path);
}

void MicrophoneSettingDialog::done(int result)
{
    if (result == Accepted)
        rememberLastUsed(kLastUsed, microphoneAssignments(settings()));
    QDialog::done(result);
}
