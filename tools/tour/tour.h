// tour.h: an unattended walk through the real windows, with a picture and a report line for each step.
#pragma once

#include "runtime/language.h"

#include <QDir>
#include <QJsonArray>
#include <QMessageBox>
#include <QTimer>

#include <deque>
#include <functional>
#include <stdexcept>

class QPixmap;
class QWidget;

/// A step did not show what it should.
class StepFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Runs steps one after the other on the GUI thread and keeps going after a failed one.
class Tour
{
public:
    /// Pictures and report.json go into `folder`, which is made. The windows speak `language`.
    explicit Tour(const QString& folder, Language language = Language::English);

    /// Runs `body`, which returns the line of detail for the report, and records the outcome.
    void step(const QString& name, const std::function<QString()>& body);

    /// Fails the running step unless `condition` holds.
    static void require(bool condition, const QString& what);

    /// Runs the event loop until `condition` holds; fails the running step after a minute.
    static void waitUntil(const std::function<bool()>& condition, const QString& what);

    Language language() const { return m_language; }

    /// How an English text of ours, or its beginning up to the first value, reads in the language of this tour.
    QString said(const char* english) const;

    /// Makes the picture of the running step: the widget on a desktop-like background, at its pixel ratio.
    void picture(QWidget& widget);
    void picture(const QPixmap& shot);

    /// Runs `react` on the next modal window or popup that opens, as a step of its own. Several calls react to several
    /// windows in turn; a window that never opens fails the step in which it was expected.
    void whenWindowOpens(const QString& name, const std::function<QString(QWidget&)>& react);

    /// The usual reaction to a message box: picture, check of title and text, click. Both are given in English and
    /// expected in the language of the tour.
    void answerBox(const QString& name, const QString& title, const QString& text, QMessageBox::StandardButton button);

    /// Writes report.json and returns the number of failed steps; -1 when it cannot be written.
    int finish() const;

private:
    struct Reaction
    {
        QString name;
        std::function<QString(QWidget&)> react;
    };

    void reactToWindow();

    QDir m_folder;
    Language m_language;
    QJsonArray m_steps;
    QString m_picture; ///< file name of the running step's picture
    int m_failed = 0;
    std::deque<Reaction> m_reactions;
    QTimer m_poll;   ///< runs while reactions wait
    int m_waits = 0; ///< for the size of the window that is next
};
