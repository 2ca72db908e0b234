#include "runtime/language.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

class LanguageMemoryTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { qunsetenv("PLUGBOARD_USER_DATA"); }
    void whatWasChosenIsRemembered()
    {
        const QTemporaryDir folder;
        qputenv("PLUGBOARD_USER_DATA", (folder.path() + QStringLiteral("/new")).toLocal8Bit());
        QCOMPARE(rememberedLanguage(), Language::English);
        for (const Language language : {Language::SimplifiedChinese, Language::English, Language::SimplifiedChinese}) {
            QVERIFY(rememberLanguage(language));
            QCOMPARE(rememberedLanguage(), language);
        }
    }

    void whatIsNoLanguageIsEnglish_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("another language") << QByteArray("[General]\nlanguage=de\n");
        QTest::newRow("a damaged file") << QByteArray("\xff\xfe[[[language");
        QTest::newRow("another spelling") << QByteArray("[General]\nlanguage=zh-cn\n");
    }

    void whatIsNoLanguageIsEnglish()
    {
        QFETCH(QByteArray, content);
        const QTemporaryDir folder;
        qputenv("PLUGBOARD_USER_DATA", folder.path().toLocal8Bit());
        QFile file(folder.filePath(QStringLiteral("settings.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();
        QCOMPARE(rememberedLanguage(), Language::English);
    }

    void aPlaceThatCannotBeWrittenIsReported()
    {
        const QTemporaryDir folder;
        QVERIFY(QFile(folder.filePath(QStringLiteral("file"))).open(QIODevice::WriteOnly));
        qputenv("PLUGBOARD_USER_DATA", (folder.path() + QStringLiteral("/file/below")).toLocal8Bit());
        QVERIFY(!rememberLanguage(Language::SimplifiedChinese));
        QCOMPARE(rememberedLanguage(), Language::English);
    }
};

PLUGBOARD_SUITE(LanguageMemoryTest)
#include "language_memory_test.moc"
