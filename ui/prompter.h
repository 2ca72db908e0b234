// prompter.h: every question to the user and every box that tells them something goes through here.
#pragma once

#include <QString>

class QWidget;

/// Modal, plain text (markup in a text shows as typed), GUI thread only. Windows take one as a trailing defaulted
/// constructor argument and keep a reference: the prompter outlives every window.
class Prompter
{
public:
    virtual ~Prompter() = default;

    /// One button, OK. A `remark` stands in a smaller type below the text.
    virtual void information(QWidget* parent, const QString& title, const QString& text) = 0;
    virtual void warning(QWidget* parent, const QString& title, const QString& text, const QString& remark = {}) = 0;

    /// Buttons Yes and No, none of which the Return key presses; true for Yes only (Escape and closing the box are No).
    virtual bool question(QWidget* parent, const QString& title, const QString& text, const QString& remark = {}) = 0;

    /// Existing file that the user chose, empty when none. `filter` is in QFileDialog's form.
    virtual QString openFile(QWidget* parent, const QString& title, const QString& directory,
                             const QString& filter) = 0;

    /// File to write that the user chose, empty when none; the user has agreed to replace one that exists. `suggestion`
    /// is the path that is offered; its suffix goes onto a name without one.
    virtual QString saveFile(QWidget* parent, const QString& title, const QString& suggestion,
                             const QString& filter) = 0;
};

/// The one that shows message boxes and the file chooser.
Prompter& systemPrompter();
