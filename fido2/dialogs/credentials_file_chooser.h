// credentials_file_chooser.h: picks one of the credentials files of a folder by what is in them.
#pragma once

#include <QDialog>
#include <QStringList>

class QPushButton;
class QTableWidget;

class CredentialsFileChooser : public QDialog
{
    Q_OBJECT

public:
    /// Reads every file of `names` in `directory` for its row.
    CredentialsFileChooser(const QString& directory, const QStringList& names, QWidget* parent = nullptr);

    /// Path of the file in the chosen row; empty when none is.
    QString chosenPath() const;

private:
    void fillRow(int row, const QString& path);
    void updateButtons();

    QString m_directory;
    QStringList m_names;
    QTableWidget* m_table = nullptr;
    QPushButton* m_select = nullptr;
};
