#include "app/elevated_driver.h"
#include "app/windows_command_line.h"
#include "driver/argument_vectors.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

#ifdef Q_OS_WIN
#include <windows.h>

#include <shellapi.h>
#endif

using Arguments = std::vector<std::wstring>;
Q_DECLARE_METATYPE(Arguments)

/// How arguments get to the elevated program unchanged.
class ElevatedDriverTest : public QObject
{
    Q_OBJECT

private slots:
    void argumentsSurviveTheCommandLine_data()
    {
        QTest::addColumn<Arguments>("arguments");
        QTest::addColumn<QString>("line");
        const auto row = [](const char* name, const Arguments& arguments, const char* line) {
            QTest::newRow(name) << arguments << QString::fromUtf8(line);
        };
        row("plain arguments stay unquoted", {L"--each", L"usbredir", L"root\\VUBUS"}, "--each usbredir root\\VUBUS");
        row("a folder with a blank is quoted, its backslash kept", {L"C:/Program Files\\vusbbus.inf", L"x"},
            "\"C:/Program Files\\vusbbus.inf\" x");
        row("a backslash at the end does not swallow the quotation mark", {L"C:\\my folder\\", L"x"},
            "\"C:\\my folder\\\\\" x");
        row("quotation marks, with backslashes before them", {L"say \"hi\"", L"a\\\"b", L"\""},
            "\"say \\\"hi\\\"\" \"a\\\\\\\"b\" \"\\\"\"");
        row("an empty argument keeps its place", {L"a", L"", L"b"}, "a \"\" b");
        row("tabs count as blanks", {L"a\tb"}, "\"a\tb\"");
        row("letters of other scripts", {L"C:/Ger\u00e4te \u8bbe\u5907"}, "\"C:/Ger\u00e4te \u8bbe\u5907\"");
    }

    void argumentsSurviveTheCommandLine()
    {
        QFETCH(Arguments, arguments);
        QFETCH(QString, line);
        QCOMPARE(QString::fromStdWString(windowsCommandLine(arguments)), line);
#ifdef Q_OS_WIN
        int count = 0;
        wchar_t** const handed = CommandLineToArgvW((L"program " + line.toStdWString()).c_str(), &count);
        const Arguments read(handed + 1, handed + count);
        LocalFree(handed);
        QVERIFY2(read == arguments, "a program would be handed something else");
#endif
    }

    void vectorsSurviveBeingJoined()
    {
        const std::vector<Arguments> vectors{{L"usbredir", L"dp_add", L"--each"}, {L"usbredir", L"install", L"", L"x"}};
        Arguments joined = driver::joinArgumentVectors(vectors);
        joined.insert(joined.begin(), L"plugboard-driver");
        QVERIFY(driver::splitArgumentVectors(joined) == vectors);

        // Without "--each" in front the engine gets what the console gave, whatever it holds.
        for (const Arguments& plain : {Arguments{L"p"}, Arguments{L"p", L"find", L"--each", L"--then", L"*"}})
            QVERIFY(driver::splitArgumentVectors(plain) == std::vector<Arguments>{plain});
    }

    void programRunsWithItsArguments()
    {
        if (QSysInfo::kernelType() != QLatin1String("winnt")) {
            QVERIFY(!elevatedDriver());
            return;
        }
        if (elevatedDriver())
            QSKIP("would ask for an administrator's rights");
        const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/plug board XXXXXX"));
        QVERIFY(QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE), folder.filePath(QStringLiteral("vusbbus.inf"))));
        const QString tree = folder.filePath(QStringLiteral("tree.json"));
        qputenv("PLUGBOARD_DEVICE_TREE", tree.toUtf8());
        const std::wstring inf = folder.path().toStdWString() + L"\\vusbbus.inf";
        const std::wstring program = QStringLiteral(PLUGBOARD_DRIVER_PROGRAM).toStdWString();
        QVERIFY(runElevated(program, {L"dp_add", inf}) == 0);
        QVERIFY(QFile::exists(tree));
        QVERIFY(runElevated(program, {L"dp_add", inf + L" and more"}) == 2);
        QVERIFY(runElevated(program, {L"no_such_command"}) == 3);
        QVERIFY(!runElevated(program + L".missing.exe", {}));
        qunsetenv("PLUGBOARD_DEVICE_TREE");
    }
};

PLUGBOARD_SUITE(ElevatedDriverTest)
#include "elevated_driver_test.moc"
