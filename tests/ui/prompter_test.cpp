#include "tests/support/suite_registry.h"
#include "ui/plain_tool_tip.h"
#include "ui/prompter.h"

#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>
#include <QTimer>
#include <QtTest>

namespace {

enum class Reaction
{
    ClickYes,
    ClickNo,
    Close,
    Return,
    Escape
};

/// What the box looked like while it was open.
struct SeenBox
{
    QString title;
    QString text;
    Qt::TextFormat format = Qt::AutoText;
    QString remark;
    QMessageBox::StandardButtons buttons;
};

/// As it is drawn: markup in it would not show as it was typed.
QString shownRemark(const QMessageBox& box)
{
    const auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"));
    return label && label->textFormat() == Qt::PlainText ? label->text() : QString();
}

void reactToBox(Reaction reaction, SeenBox& seen)
{
    QTimer::singleShot(0, qApp, [reaction, &seen] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        seen = {box->windowTitle(), box->text(), box->textFormat(), shownRemark(*box), box->standardButtons()};
        if (reaction == Reaction::Return)
            QTest::keyClick(box, Qt::Key_Return);
        if (reaction == Reaction::Return && box->isVisible())
            box->close();
        else if (reaction == Reaction::Escape)
            QTest::keyClick(box, Qt::Key_Escape);
        else if (reaction == Reaction::Close)
            box->close();
        else if (reaction != Reaction::Return)
            box->button(reaction == Reaction::ClickYes ? QMessageBox::Yes : QMessageBox::No)->click();
    });
}

} // namespace

class PrompterTest : public QObject
{
    Q_OBJECT

private slots:
    void asksWithoutDefaultAndTakesOnlyYes_data()
    {
        QTest::addColumn<int>("reaction");
        QTest::addColumn<bool>("yes");
        QTest::newRow("Yes is yes") << int(Reaction::ClickYes) << true;
        QTest::newRow("No is no") << int(Reaction::ClickNo) << false;
        QTest::newRow("closing the box is no") << int(Reaction::Close) << false;
        QTest::newRow("the Return key presses nothing") << int(Reaction::Return) << false;
        QTest::newRow("the Escape key is no") << int(Reaction::Escape) << false;
    }

    void asksWithoutDefaultAndTakesOnlyYes()
    {
        QFETCH(int, reaction);
        QFETCH(bool, yes);
        SeenBox seen;
        reactToBox(Reaction(reaction), seen);
        QCOMPARE(systemPrompter().question(nullptr, QStringLiteral("Title"), QStringLiteral("<b>x</b>?"),
                                           QStringLiteral("<i>y</i>")),
                 yes);
        QCOMPARE(seen.text, QStringLiteral("<b>x</b>?"));
        QCOMPARE(seen.format, Qt::PlainText);
        QCOMPARE(seen.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(seen.remark, QStringLiteral("<i>y</i>"));
    }

    void markupShowsAsTyped()
    {
        const QString name = QStringLiteral("<b>x</b> & \"y\"");
        QTextDocument shown;
        shown.setHtml(plainToolTip(name));
        QCOMPARE(shown.toPlainText(), name);
        QCOMPARE(plainToolTip(QStringLiteral("a < b")), QStringLiteral("a < b"));

        QLabel tip(plainToolTip(QString(1000, QLatin1Char('x')))); // as Qt shows a tool tip
        tip.setWordWrap(true);
        QVERIFY2(tip.sizeHint().width() < 1000, "a long word must not reach out of the screen");
    }
};

PLUGBOARD_SUITE(PrompterTest)
#include "prompter_test.moc"
