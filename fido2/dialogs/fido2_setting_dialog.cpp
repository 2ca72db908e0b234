#include "fido2/dialogs/fido2_setting_dialog.h"

#include "fido2/dialogs/credential_edit_dialog.h"
#include "fido2/dialogs/credential_texts.h"
#include "fido2/dialogs/credentials_file_chooser.h"
#include "fido2/dialogs/credentials_table.h"
#include "fido2/dialogs/key_form.h"
#include "fido2/file/credentials_file.h"
#include "runtime/whole_file.h"
#include "ui/plain_tool_tip.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>

Fido2SettingDialog::Fido2SettingDialog(QWidget* parent, Fido2Environment environment, Prompter& prompter)
    : QDialog(parent)
    , m_environment(std::move(environment))
    , m_prompter(prompter)
    , m_followed(this)
{
    buildLayout();
    connect(&m_followed, &FollowedCredentials::touched, this, &Fido2SettingDialog::pullChanges);
    onGenerateSerialNumber();
    if (QFileInfo::exists(m_path))
        loadFile(m_path);
}

Fido2Parameters Fido2SettingDialog::parameters() const
{
    Fido2Parameters chosen = m_form->parameters();
    chosen.credentialsPath = m_path;
    return chosen;
}

void Fido2SettingDialog::onGenerateSerialNumber()
{
    m_form->setSerialNumber(m_environment.newSerialNumber());
}

void Fido2SettingDialog::updateCredentialsFilePath()
{
    setPath(m_environment.credentialsPath(m_form->identity().serialNumber));
}

void Fido2SettingDialog::setPath(const QString& path)
{
    if (path != m_path)
        m_followed.stop();
    m_path = path;
    tell(m_pathLabel, tr("Credentials file: %1").arg(path));
    showFileState();
}

void Fido2SettingDialog::loadDeviceInfoFromCredentialsFile()
{
    loadFile(m_path);
}

void Fido2SettingDialog::loadFile(QString path)
{
    CredentialsFile file(path);
    bool loaded = false;
    switch (file.load()) {
    case JsonFileContent::State::Object:
        loaded = true;
        m_credentials = m_stored = file.credentials();
        m_table->clearSelection();
        onRefreshCredentials();
        extractDeviceInfoFromCredential(file.root());
        break;
    case JsonFileContent::State::NotOpened:
        m_prompter.warning(this, tr("Error"), tr("Cannot open credentials file: %1").arg(path));
        break;
    case JsonFileContent::State::NotJson:
        m_prompter.warning(this, tr("Error"), tr("Invalid JSON format: %1").arg(file.parseError()));
        break;
    case JsonFileContent::State::NotAnObject:
        break; // as if there were no file
    }
    setPath(path); // a serial number from the file has set another
    if (!loaded)
        return;
    m_followed.follow(m_path, m_credentials);
    showFileState();
}

void Fido2SettingDialog::pullChanges()
{
    const std::optional<QJsonArray> merged = m_followed.pull(m_credentials);
    if (!merged)
        return;
    const int before = m_credentials.size();
    const std::optional<int> selected = m_table->selectedCredential();
    const QString selectedId = selected ? idAt(*selected) : QString();
    m_credentials = *merged;
    m_stored = m_followed.inFile();
    m_table->clearSelection();
    onRefreshCredentials();
    for (int index = 0; index < m_credentials.size() && !selectedId.isEmpty(); ++index) {
        if (idAt(index) == selectedId)
            m_table->selectCredential(index);
    }
    tell(m_fileState, tr("The file was changed meanwhile: %1 credentials now, %2 before.")
                          .arg(QString::number(m_credentials.size()), QString::number(before)));
}

/// While the user decides, the number of a credential must stay that credential's.
void Fido2SettingDialog::withoutPulling(const std::function<void()>& action)
{
    {
        const QSignalBlocker unchanged(m_followed);
        action();
    }
    pullChanges();
}

QString Fido2SettingDialog::idAt(int index) const
{
    return comparableId(m_credentials.at(index).toObject().value(QStringLiteral("id")).toString());
}

void Fido2SettingDialog::showFileState()
{
    QString state;
    const QFileInfo info(m_path);
    if (!m_followed.isFollowing() && info.exists()) {
        CredentialsFile file(m_path);
        state = file.load() == JsonFileContent::State::Object
                    ? tr("This file exists with %1 credentials, not loaded: saving replaces them.")
                          .arg(file.credentials().size())
                    : tr("This file exists and cannot be read: saving replaces it.");
    } else if (!QFileInfo(info.path()).isDir()) {
        state = tr("The folder of this file is made with the first key; until then credentials cannot be saved.");
    }
    tell(m_fileState, state);
}

void Fido2SettingDialog::tell(QLabel* line, const QString& text)
{
    line->setText(text);
    line->setToolTip(plainToolTip(text)); // a narrow screen cuts the line
    line->setVisible(!text.isEmpty());
}

void Fido2SettingDialog::extractDeviceInfoFromCredential(const QJsonObject& credential)
{
    m_form->take(credential.value(QStringLiteral("deviceInfo")).toObject());
}

void Fido2SettingDialog::onSelectCredentialsFile()
{
    const QString directory = m_environment.directory();
    if (!QDir(directory).exists()) {
        m_prompter.information(this, tr("Info"), tr("FIDO2 directory not found: %1").arg(directory));
        return;
    }
    const QStringList names = m_environment.credentialsFileNames();
    if (names.isEmpty()) {
        m_prompter.information(this, tr("Info"), tr("No credential files found in: %1").arg(directory));
        return;
    }
    CredentialsFileChooser chooser(directory, names, this);
    if (chooser.exec() == QDialog::Accepted && !chooser.chosenPath().isEmpty())
        loadUnlessUnsaved(chooser.chosenPath());
}

void Fido2SettingDialog::loadUnlessUnsaved(const QString& path)
{
    if (mayDropChanges())
        loadFile(path);
}

bool Fido2SettingDialog::mayDropChanges()
{
    return !hasUnsavedChanges() ||
           m_prompter.question(this, tr("Unsaved Changes"),
                               tr("The credentials were changed and not saved. Do you want to drop the changes?"));
}

void Fido2SettingDialog::reject()
{
    if (mayDropChanges())
        QDialog::reject();
}

void Fido2SettingDialog::onRefreshCredentials()
{
    const std::optional<int> selected = m_table->selectedCredential();
    const CredentialIdFaults faults = findIdFaults(m_credentials);
    const QString search = m_search->text().trimmed();
    const int matching = m_table->showCredentials(m_credentials, faults, search);
    if (selected)
        m_table->selectCredential(*selected);
    tell(m_rest, restText(matching, search.isEmpty() ? matching : m_credentials.size()));
    tell(m_idWarning, idWarningText(faults));
    m_unsaved->setVisible(hasUnsavedChanges());
}

void Fido2SettingDialog::onAddCredential()
{
    CredentialEditDialog editor(true, this, m_environment, m_prompter);
    editor.setOtherIds(idsExcept(-1));
    if (editor.exec() != QDialog::Accepted)
        return;
    m_credentials.append(editor.credential());
    onRefreshCredentials();
    succeed(tr("New credential added successfully"));
}

void Fido2SettingDialog::onEditCredential()
{
    const int index = selectedCredential(tr("Please select a credential to edit"));
    if (index < 0)
        return;
    withoutPulling([this, index] {
        CredentialEditDialog editor(false, this, m_environment, m_prompter);
        editor.setCredential(m_credentials.at(index).toObject());
        editor.setOtherIds(idsExcept(index));
        if (editor.exec() != QDialog::Accepted)
            return;
        m_credentials.replace(index, editor.credential());
        onRefreshCredentials();
        succeed(tr("Credential updated successfully"));
    });
}

void Fido2SettingDialog::onDeleteCredential()
{
    const int index = selectedCredential(tr("Please select a credential to delete"));
    if (index < 0)
        return;
    withoutPulling([this, index] {
        if (!m_prompter.question(this, tr("Confirm Delete"), tr("Are you sure you want to delete this credential?")))
            return;
        m_credentials.removeAt(index);
        m_table->clearSelection(); // else the next one takes its place there
        onRefreshCredentials();
        succeed(tr("Credential deleted successfully"));
    });
}

void Fido2SettingDialog::onTableItemDoubleClicked(QTableWidgetItem* item)
{
    m_table->selectRow(item->row());
    onEditCredential();
}

int Fido2SettingDialog::selectedCredential(const QString& complaint)
{
    const std::optional<int> selected = m_table->selectedCredential();
    if (selected && *selected < m_credentials.size())
        return *selected;
    complain(selected ? tr("Invalid row selected") : complaint);
    return -1;
}

QSet<QString> Fido2SettingDialog::idsExcept(int index) const
{
    QSet<QString> ids;
    for (int other = 0; other < m_credentials.size(); ++other) {
        if (other != index)
            ids << idAt(other);
    }
    return ids;
}

void Fido2SettingDialog::onSaveCredentials()
{
    bool saved = false;
    {
        const FileLock lock(m_path);
        pullChanges();
        saved = CredentialsFile(m_path).save(lock, m_form->identity(), m_credentials);
    }
    if (!saved) {
        const QString folder = QFileInfo(m_path).path();
        const QString hint = tr("The folder %1 is made with the first key: create that one without credentials, then "
                                "select its file and add them.")
                                 .arg(folder);
        m_prompter.warning(this, tr("Error"), tr("Cannot write to credentials file: %1").arg(m_path),
                           QFileInfo(folder).isDir() ? QString() : hint);
        return;
    }
    m_stored = m_credentials;
    m_unsaved->hide();
    m_followed.follow(m_path, m_credentials);
    showFileState();
    succeed(tr("Credentials saved successfully"));
}

void Fido2SettingDialog::onCreateDevice()
{
    if (const auto fault = m_form->findFault()) {
        complain(fault->complaint);
        fault->field->setFocus();
        return;
    }
    if (!mayDropChanges())
        return;
    const Fido2Parameters chosen = parameters();
    succeed(tr("FIDO2 device configuration is valid.\n\nDevice will be created with the following settings:\n"
               "• VID: %1\n• PID: %2\n• USB Version: %3\n• Device Name: %4\n• Support PIN: %5\n• Credentials File: %6")
                .arg(chosen.vid, chosen.pid, chosen.usbVersionChoice, chosen.name, yesOrNo(chosen.supportsPin),
                     chosen.credentialsPath));
    m_form->rememberAsLastUsed();
    accept();
}

void Fido2SettingDialog::complain(const QString& text)
{
    m_prompter.warning(this, tr("Warning"), text);
}

void Fido2SettingDialog::succeed(const QString& text)
{
    m_prompter.information(this, tr("Success"), text);
}
