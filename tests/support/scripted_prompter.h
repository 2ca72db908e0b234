// scripted_prompter.h: answers boxes from a script and fails the test on a box that differs or never comes.
#pragma once

#include "ui/prompter.h"

#include <QStringList>

#include <deque>

/// Each expectation is one line, "KIND|title|text" with the kinds "info", "warn", "ask", "open" and "save" (for the
/// last two the text is the filter). A box that is not the next expected one is recorded in unexpected(); `verify` at
/// the end of a test says in one string what went wrong, empty when nothing did.
class ScriptedPrompter final : public Prompter
{
public:
    void expectInformation(const QString& title, const QString& text) { expect("info", title, text); }
    void expectWarning(const QString& title, const QString& text) { expect("warn", title, text); }
    /// A `remark` is expected after the text, on a line of its own.
    void expectQuestion(const QString& title, const QString& text, bool yes, const QString& remark = {})
    {
        expect("ask", title, withRemark(text, remark), yes ? QStringLiteral("yes") : QString());
    }
    void expectOpenFile(const QString& title, const QString& filter, const QString& chosen)
    {
        expect("open", title, filter, chosen);
    }
    void expectSaveFile(const QString& title, const QString& filter, const QString& chosen)
    {
        expect("save", title, filter, chosen);
    }

    /// Empty when every expected box came, in order, and no other did.
    QString verify() const
    {
        QStringList faults = m_unexpected;
        for (const Expectation& missing : m_expected)
            faults << QStringLiteral("never shown: ") + missing.line;
        return faults.join(QLatin1Char('\n'));
    }

    /// Below the text of the last warning, which an expectation does not tell: the system may have a part in it.
    QString lastRemark() const { return m_lastRemark; }

    void information(QWidget*, const QString& title, const QString& text) override { take("info", title, text); }
    void warning(QWidget*, const QString& title, const QString& text, const QString& remark) override
    {
        take("warn", title, text);
        m_lastRemark = remark;
    }
    bool question(QWidget*, const QString& title, const QString& text, const QString& remark) override
    {
        return !take("ask", title, withRemark(text, remark)).isEmpty();
    }
    QString openFile(QWidget*, const QString& title, const QString&, const QString& filter) override
    {
        return take("open", title, filter);
    }
    QString saveFile(QWidget*, const QString& title, const QString&, const QString& filter) override
    {
        return take("save", title, filter);
    }

private:
    struct Expectation
    {
        QString line;
        QString answer;
    };

    static QString withRemark(const QString& text, const QString& remark)
    {
        return remark.isEmpty() ? text : text + QLatin1Char('\n') + remark;
    }

    static QString lineOf(const char* kind, const QString& title, const QString& text)
    {
        return QString::fromLatin1(kind) + QLatin1Char('|') + title + QLatin1Char('|') + text;
    }

    void expect(const char* kind, const QString& title, const QString& text, const QString& answer = {})
    {
        m_expected.push_back({lineOf(kind, title, text), answer});
    }

    QString take(const char* kind, const QString& title, const QString& text)
    {
        const QString line = lineOf(kind, title, text);
        if (m_expected.empty() || m_expected.front().line != line) {
            m_unexpected << QStringLiteral("unexpected: ") + line;
            return {};
        }
        const QString answer = m_expected.front().answer;
        m_expected.pop_front();
        return answer;
    }

    std::deque<Expectation> m_expected;
    QStringList m_unexpected;
    QString m_lastRemark;
};
