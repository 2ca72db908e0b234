// settings_hands.h: hands on the settings dialogs of cameras and microphones, and what they are given to open.
#pragma once

#include "tests/support/loopback_server.h"
#include "ui/prompter.h"

#include <QString>
#include <QTemporaryDir>
#include <QWidget>

/// The system's boxes; files are chosen without the system's file chooser, which no program can click through.
class ChoosingPrompter final : public Prompter
{
public:
    QString fileToChoose;

    void information(QWidget* parent, const QString& title, const QString& text) override
    {
        systemPrompter().information(parent, title, text);
    }
    void warning(QWidget* parent, const QString& title, const QString& text, const QString& remark) override
    {
        systemPrompter().warning(parent, title, text, remark);
    }
    bool question(QWidget* parent, const QString& title, const QString& text, const QString& remark) override
    {
        return systemPrompter().question(parent, title, text, remark);
    }
    QString openFile(QWidget*, const QString&, const QString&, const QString&) override { return fileToChoose; }
    QString saveFile(QWidget*, const QString&, const QString&, const QString&) override { return fileToChoose; }
};

/// The tour's clips as files of a folder of their own: media are read from files, not from resources.
class Clips
{
public:
    QString path(const char* name) const;
    QString folder() const { return m_folder.path(); }

    /// Serves a clip to everyone who asks.
    LoopbackServer serve(const char* type, const char* name) const;

private:
    QTemporaryDir m_folder;
};

// Hands on the widgets of a dialog, by their object names; a widget that is not there fails the step.
QWidget* findPart(QWidget& dialog, const char* name);
template<typename Widget>
Widget* find(QWidget& dialog, const char* name)
{
    return qobject_cast<Widget*>(findPart(dialog, name));
}
void click(QWidget& dialog, const char* name);
/// Key by key; fails the step when the field takes another text.
void type(QWidget& dialog, const char* name, const QString& text);
void pressOk(QWidget& dialog);
