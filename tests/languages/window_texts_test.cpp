#include "runtime/language.h"
#include "tests/languages/all_windows.h"
#include "tests/languages/clipped_texts.h"
#include "tests/support/suite_registry.h"
#include "ui/prompter.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QtTest>

class WindowTextsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void textsFitAndSpeakTheLanguage_data();
    void textsFitAndSpeakTheLanguage();
    void buttonsOfBoxesSpeakTheLanguage();

private:
    QFont m_font;
};

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

void WindowTextsTest::initTestCase()
{
    m_font = QApplication::font();
}

void WindowTextsTest::cleanup()
{
    speak(Language::English, *qApp);
    QApplication::setFont(m_font);
}

void WindowTextsTest::textsFitAndSpeakTheLanguage_data()
{
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("language");
    QTest::addColumn<int>("points");
    AllWindows windows;
    for (const WindowMaker& maker : windows.makers()) {
        for (const Language language : {Language::English, Language::SimplifiedChinese}) {
            for (const int points : {9, 14}) // the usual size and a large one, as a user may set it for all programs
                QTest::addRow("%s, %s, %d points", maker.name, qPrintable(languageWord(language)), points)
                    << QString::fromLatin1(maker.name) << int(language) << points;
        }
    }
}

void WindowTextsTest::textsFitAndSpeakTheLanguage()
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

void WindowTextsTest::buttonsOfBoxesSpeakTheLanguage()
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

PLUGBOARD_SUITE(WindowTextsTest)
#include "window_texts_test.moc"
