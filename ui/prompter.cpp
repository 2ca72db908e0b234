#include "ui/prompter.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace {

QMessageBox::StandardButton showBox(QMessageBox::Icon icon, QWidget* parent, const QString& title, const QString& text,
                                    QMessageBox::StandardButtons buttons)
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

class MessageBoxPrompter final : public Prompter
{
public:
    void information(QWidget* parent, const QString& title, const QString& text) override
    {
        showBox(QMessageBox::Information, parent, title, text, QMessageBox::Ok);
    }

    void warning(QWidget* parent, const QString& title, const QString& text) override
    {
        showBox(QMessageBox::Warning, parent, title, text, QMessageBox::Ok);
    }

    bool question(QWidget* parent, const QString& title, const QString& text) override
    {
        return showBox(QMessageBox::Question, parent, title, text, QMessageBox::Yes | QMessageBox::No) ==
               QMessageBox::Yes;
    }

    QString openFile(QWidget* parent, const QString& title, const QString& directory, const QString& filter) override
    {
        return QFileDialog::getOpenFileName(parent, title, directory, filter);
    }

    QString saveFile(QWidget* parent, const QString& title, const QString& suggestion, const QString& filter) override
    {
        const QFileInfo file(suggestion);
        QFileDialog dialog(parent, title, file.path(), filter);
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setDefaultSuffix(file.suffix());
        dialog.selectFile(file.fileName());
        return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
    }
};

} // namespace

Prompter& systemPrompter()
{
    static MessageBoxPrompter prompter;
    return prompter;
}
