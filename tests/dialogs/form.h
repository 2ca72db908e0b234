// form.h: a dialog driven through its widgets, which are found by name.
#pragma once

#include <QAbstractButton>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

class Form
{
public:
    explicit Form(QDialog& dialog) : m_dialog(dialog) {}

    template<typename Widget = QWidget>
    Widget* find(const char* name) const
    {
        return m_dialog.findChild<Widget*>(QString::fromLatin1(name));
    }

    void click(const char* name) const { QTest::mouseClick(find(name), Qt::LeftButton); }
    void check(const char* name) const { find<QAbstractButton>(name)->setChecked(true); }
    void toggle(const char* name) const { find<QAbstractButton>(name)->click(); }
    void ok() const { button(QDialogButtonBox::Ok)->click(); }
    void cancel() const { button(QDialogButtonBox::Cancel)->click(); }

    /// Types over what the edit holds and returns what it then holds.
    QString type(const char* name, const QString& text) const
    {
        auto* edit = find<QLineEdit>(name);
        edit->clear();
        QTest::keyClicks(edit, text);
        return edit->text();
    }

    /// Pastes over what the edit holds.
    void paste(const char* name, const QString& text) const
    {
        QGuiApplication::clipboard()->setText(text);
        find<QLineEdit>(name)->clear();
        find<QLineEdit>(name)->paste();
    }

    /// By program, which no validator holds back.
    void set(const char* name, const QString& text) const { find<QLineEdit>(name)->setText(text); }

    /// Chooses with the keyboard, as a user steps through a list.
    void choose(const char* name, const QString& text) const
    {
        auto* combo = find<QComboBox>(name);
        QTest::keyClick(combo, Qt::Key_Home);
        for (int i = 0; combo->currentText() != text && i < combo->count(); ++i)
            QTest::keyClick(combo, Qt::Key_Down);
        QCOMPARE(combo->currentText(), text);
    }

    QString chosen(const char* name) const { return find<QComboBox>(name)->currentText(); }
    QString listed(const char* name) const
    {
        const auto* combo = find<QComboBox>(name);
        QStringList texts;
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
        return texts.join(QLatin1Char(' '));
    }

    bool asksForAPathsWidth(const char* name) const
    {
        const QWidget* edit = find(name);
        return edit->sizeHint().width() > edit->fontMetrics().horizontalAdvance(QStringLiteral("x").repeated(40));
    }

    bool shows(const char* name) const { return find(name)->isVisibleTo(&m_dialog); }
    bool isEnabled(const char* name) const { return find(name)->isEnabledTo(&m_dialog); }
    bool isChecked(const char* name) const { return find<QAbstractButton>(name)->isChecked(); }
    QString text(const char* name) const { return find<QAbstractButton>(name)->text(); }

    /// Moves the focus to the widget and presses the key there.
    void press(const char* name, Qt::Key key) const
    {
        find(name)->setFocus();
        QTest::keyClick(m_dialog.focusWidget(), key);
    }

    /// The fields that the tab key visits, beginning with `first` and up to `last`.
    QString tabOrder(const char* first, const char* last) const
    {
        constexpr int kMostFields = 30;
        find(first)->setFocus();
        QStringList names{m_dialog.focusWidget()->objectName()};
        while (names.last() != QLatin1String(last) && names.size() < kMostFields) {
            QTest::keyClick(m_dialog.focusWidget(), Qt::Key_Tab);
            names << m_dialog.focusWidget()->objectName();
        }
        return names.join(QLatin1Char(' '));
    }

    /// The name and a space when the tab key visits the unchecked button; nothing where a group of buttons is one stop,
    /// as the system has it.
    QString tabStop(const char* name) const
    {
        return find(name)->focusPolicy() & Qt::TabFocus ? QString::fromLatin1(name) + QLatin1Char(' ') : QString();
    }

    /// "open", "accepted" or "rejected".
    QString state() const
    {
        if (m_dialog.isVisible())
            return QStringLiteral("open");
        return m_dialog.result() == QDialog::Accepted ? QStringLiteral("accepted") : QStringLiteral("rejected");
    }

private:
    QPushButton* button(QDialogButtonBox::StandardButton which) const
    {
        return m_dialog.findChild<QDialogButtonBox*>()->button(which);
    }

    QDialog& m_dialog;
};
