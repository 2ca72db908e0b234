#include "runtime/language.h"
#include "tests/languages/all_windows.h"
#include "tests/languages/clipped_texts.h"
#include "tests/support/suite_registry.h"
#include "ui/prompter.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QScreen>
#include <QTextEdit>
#include <QtTest>

namespace {

bool hasChinese(const QString& text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.script() == QChar::Script_Han; });
}

/// What is the same in every language: numbers, codes, names of standards, file names and what the user or a device
/// said.
bool isValue(const QString& text)
{
    static const QRegularExpression codes(
        QStringLiteral("^([-x0-9a-f.:/ ]*|USB ?\\d\\.\\d|UAC \\d\\.\\d|DroidCam|Plugboard|(USB )?[VP]ID：|FIDO2|"
                       "[A-Z][a-z]{2} [ \\d]\\d \\d{4}|KEY-1.*|/.*|[A-Z]:/.*)$"));
    return codes.match(text).hasMatch();
}

} // namespace

class WindowTextsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_font = QApplication::font(); }

    void cleanup()
    {
        speak(Language::English, *qApp);
        QApplication::setFont(m_font);
    }

    void textsFitAndSpeakTheLanguage_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<int>("language");
        QTest::addColumn<int>("points");
        AllWindows windows;
        for (const WindowMaker& maker : windows.makers()) {
            for (const Language language : {Language::English, Language::SimplifiedChinese}) {
                for (const int points :
                     {9, 14}) // the usual size and a large one, as a user may set it for all programs
                    QTest::addRow("%s, %s, %d points", maker.name, qPrintable(languageWord(language)), points)
                        << QString::fromLatin1(maker.name) << int(language) << points;
            }
        }
    }

    void textsFitAndSpeakTheLanguage()
    {
        QFETCH(QString, window);
        QFETCH(int, language);
        QFETCH(int, points);
        QVERIFY(speak(Language(language), *qApp));
        QFont font = m_font;
        font.setPointSize(points);
        QApplication::setFont(font);
        AllWindows windows;
        const auto makers = windows.makers();
        const auto maker = std::find_if(makers.begin(), makers.end(),
                                        [&](const WindowMaker& each) { return window == QLatin1String(each.name); });
        const std::unique_ptr<QWidget> made = maker->make();
        made->show();
        QVERIFY(QTest::qWaitForWindowExposed(made.get()));
        QCoreApplication::processEvents(); // what scrolls tells its layout what it needs
        QVERIFY2(made->height() <= made->screen()->availableSize().height(),
                 qPrintable(QString::number(made->height())));
        QCOMPARE(clippedTexts(*made).join(QLatin1Char('\n')), QString());

        const QStringList texts = ownTexts(*made);
        QVERIFY2(texts.size() > 1, "no text was found");
        QStringList foreign;
        for (const QString& text : texts) {
            if (!isValue(text) && hasChinese(text) != (Language(language) == Language::SimplifiedChinese))
                foreign << text;
        }
        QCOMPARE(foreign.join(QLatin1Char('\n')), QString());
    }

    void buttonsOfBoxesSpeakTheLanguage()
    {
        QVERIFY(speak(Language::SimplifiedChinese, *qApp));
        QStringList texts;
        QStringList clipped;
        QTimer::singleShot(0, qApp, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            clipped = clippedTexts(*box);
            for (const QAbstractButton* button : box->buttons())
                texts << button->text();
            box->close();
        });
        QVERIFY(!systemPrompter().question(nullptr, QStringLiteral("title"), QStringLiteral("text")));
        QCOMPARE(texts, QStringList({QStringLiteral("是(&Y)"), QStringLiteral("否(&N)")}));
        QCOMPARE(clipped, QStringList());
    }

    /// Tests that click one of them end whether it works or not: what a modal window leaves open is closed for them.
    void closingButtonsClose()
    {
        AllWindows windows;
        QStringList closed;
        for (const WindowMaker& maker : windows.makers()) {
            const std::unique_ptr<QWidget> window = maker.make();
            window->show();
            for (QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
                const auto* box = qobject_cast<QDialogButtonBox*>(button->parentWidget());
                const bool closes = button->objectName() == QLatin1String("close") ||
                                    button->objectName() == QLatin1String("cancel") ||
                                    (box && box->buttonRole(button) == QDialogButtonBox::RejectRole);
                if (!closes)
                    continue;
                button->click();
                QVERIFY2(!window->isVisible(), maker.name);
                closed << QString::fromLatin1(maker.name);
            }
            for (const QTextEdit* text : window->findChildren<QTextEdit*>())
                QVERIFY2(text->isReadOnly(), maker.name);
        }
        QCOMPARE(
            closed.join(QStringLiteral(", ")),
            QStringLiteral("camera settings, camera settings, network, microphone settings, microphone settings, "
                           "network, key file chooser, new credential, credential, credential details, key details, "
                           "request details, packet details, device configuration"));
    }

private:
    QFont m_font;
};

PLUGBOARD_SUITE(WindowTextsTest)
#include "window_texts_test.moc"
