#include "ui/prompter.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace {

/// The box's text format does not reach its informative text.
void showRemark(QMessageBox& box, const QString& remark)
{
    box.setInformativeText(remark);
    if (auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);
}

void showBox(QMessageBox::Icon icon, QWidget* parent, const QString& title, const QString& text,
             const QString& remark = {})
{
    QMessageBox box(icon, title, text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    if (!remark.isEmpty())
        showRemark(box, remark);
    box.exec();
}

bool ask(QWidget* parent, const QString& title, const QString& text, const QString& remark)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
    box.setTextFormat(Qt::PlainText);
    if (!remark.isEmpty())
        showRemark(box, remark);
    const auto buttons = box.findChildren<QPushButton*>();
    for (QPushButton* button : buttons)
        button->setAutoDefault(false); // the Return key would press the first one
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

class MessageBoxPrompter final : public Prompter
{
public:
    void information(QWidget* parent, const QString& title, const QString& text) override
    {
        showBox(QMessageBox::Information, parent, title, text);
    }

    void warning(QWidget* parent, const QString& title, const QString& text, const QString& remark) override
    {
        showBox(QMessageBox::Warning, parent, title, text, remark);
    }

    bool question(QWidget* parent, const QString& title, const QString& text, const QString& remark) override
    {
        return ask(parent, title, text, remark);
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
