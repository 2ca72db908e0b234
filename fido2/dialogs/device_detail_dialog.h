// device_detail_dialog.h: shows a security key from its credentials file as it is now, sets its PIN and wipes it.
#pragma once

#include "fido2/file/credentials_file.h"
#include "fido2/file/fido2_environment.h"
#include "ui/prompter.h"

#include <QDialog>
#include <QFileSystemWatcher>

class PinForm;
class QLineEdit;
class QTextEdit;

class DeviceDetailDialog : public QDialog
{
    Q_OBJECT

public:
    /// Reads the file at once; a file that cannot be read is told and leaves the dialog empty.
    DeviceDetailDialog(const QString& credentialsPath, const QString& serialNumber, QWidget* parent = nullptr,
                       Fido2Environment environment = Fido2Environment::ofThisProgram(),
                       Prompter& prompter = systemPrompter());

public slots:
    void onSetPin();
    void onClearDevice();

private:
    QWidget* buildDeviceGroup();
    QWidget* buildCredentialsGroup();
    QWidget* buildActions();
    void load();
    void showDevice();
    void complain(const QString& text);
    /// Shows what the key's process has changed in the file since, such as the attempts left.
    void reload();

    CredentialsFile m_file;
    QString m_serialNumber;
    Fido2Environment m_environment;
    Prompter& m_prompter;
    QLineEdit* m_serialField = nullptr;
    QLineEdit* m_nameField = nullptr;
    QLineEdit* m_vidField = nullptr;
    QLineEdit* m_pidField = nullptr;
    QLineEdit* m_usbVersionField = nullptr;
    QLineEdit* m_supportsPinField = nullptr;
    QTextEdit* m_summary = nullptr;
    PinForm* m_pinForm = nullptr;
    QFileSystemWatcher m_watcher; ///< of the file and, since it is replaced by each change, of its folder
};
