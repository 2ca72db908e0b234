// fido2_setting_dialog.h: the settings of a security key to create, and the credentials in its file.
#pragma once

#include "devices/parameter_list.h"
#include "fido2/file/fido2_environment.h"
#include "fido2/file/followed_credentials.h"
#include "ui/prompter.h"

#include <QDialog>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <functional>

class CredentialsTable;
class KeyForm;
class QLabel;
class QLineEdit;
class QTableWidgetItem;

/// Adding, editing and deleting credentials changes the ones in memory only; the file changes through
/// onSaveCredentials.
class Fido2SettingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit Fido2SettingDialog(QWidget* parent = nullptr,
                                Fido2Environment environment = Fido2Environment::ofThisProgram(),
                                Prompter& prompter = systemPrompter());

    /// What the user chose, after the dialog was accepted. The ids are as typed; every text is one line.
    Fido2Parameters parameters() const;

    /// Asks before it drops changes that are not saved.
    void reject() override;

    QJsonArray credentials() const { return m_credentials; }
    QString credentialsFilePath() const { return m_path; }

public slots:
    void onAddCredential();
    void onEditCredential();
    void onRefreshCredentials();
    void onDeleteCredential();
    void onSaveCredentials();
    void onGenerateSerialNumber();
    void updateCredentialsFilePath();
    void onSelectCredentialsFile();
    /// Reads the file and takes its deviceInfo and credentials; a file that cannot be read changes nothing.
    void loadDeviceInfoFromCredentialsFile();
    /// Puts the usable members of `deviceInfo` in a credentials file's root into the form.
    void extractDeviceInfoFromCredential(const QJsonObject& credential);
    void onTableItemDoubleClicked(QTableWidgetItem* item);
    void onCreateDevice();

private:
    void buildLayout();
    QWidget* buildCredentialsGroup();
    QWidget* buildButtonRow();
    void setPath(const QString& path);
    void loadFile(QString path); ///< by value: the path that is in use may be handed in, and changes meanwhile
    void loadUnlessUnsaved(const QString& path);
    /// Shows the text, or nothing, in a line of its own.
    void tell(QLabel* line, const QString& text);
    bool hasUnsavedChanges() const { return m_credentials != m_stored; }
    /// Asks the user whether changes that are not saved may be lost, if there are some.
    bool mayDropChanges();
    /// Row of the selected credential; -1, told to the user, without one or when the row names none.
    int selectedCredential(const QString& complaint);
    void withoutPulling(const std::function<void()>& action);
    QString idAt(int index) const; ///< comparable
    /// Comparable ids of all credentials but that one.
    QSet<QString> idsExcept(int index) const;
    void complain(const QString& text);
    void succeed(const QString& text);
    /// Takes what others changed in the file since into the credentials and the table, and says so.
    void pullChanges();
    /// Of a file that is not followed: what a save would replace.
    void showFileState();

    Fido2Environment m_environment;
    Prompter& m_prompter;
    QJsonArray m_credentials;
    QJsonArray m_stored; ///< as they were last read or saved
    QString m_path;
    KeyForm* m_form = nullptr;
    CredentialsTable* m_table = nullptr;
    QLineEdit* m_search = nullptr;
    QLabel* m_unsaved = nullptr;
    QLabel* m_rest = nullptr; ///< of credentials that the table does not show
    QLabel* m_idWarning = nullptr;
    QLabel* m_pathLabel = nullptr;
    QLabel* m_fileState = nullptr; ///< what the user should know of the file before saving
    FollowedCredentials m_followed;
};
