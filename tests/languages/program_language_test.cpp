#include "tests/support/bus_driver.h"
#include "tests/support/started_program.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// The program itself with a user folder of its own.
class ProgramLanguageTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(installBusDriverBesideTest()); }

    void whatTheCommandLinePrintsIsEnglish_data()
    {
        QTest::addColumn<QString>("arguments");
        for (const char* arguments :
             {"--help", "--list", "--list --json", "--delete 1", "--delete x", "--create toaster", "--nonsense",
              "--create microphone --set port=9 --set uac=2.0", "--create microphone --set name=", "--language de",
              "--log loud", "--list --language en"})
            QTest::newRow(arguments) << QString::fromLatin1(arguments);
    }

    void whatTheCommandLinePrintsIsEnglish()
    {
        QFETCH(QString, arguments);
        const auto with = [&](const char* language) {
            QFile settings(m_user.filePath(QStringLiteral("settings.ini")));
            if (!settings.open(QIODevice::WriteOnly) ||
                settings.write(QByteArray("[General]\nlanguage=") + language) < 0)
                return QByteArray("no settings");
            settings.close();
            const ProgramOutput output = runBesideTest("plugboard", arguments.split(QLatin1Char(' ')), m_user.path());
            return QByteArray::number(output.exitCode) + output.out + output.error;
        };
        const QByteArray chinese = with("zh_CN");
        QCOMPARE(chinese, with("en"));
        QVERIFY2(!chinese.startsWith("-1") &&
                     std::all_of(chinese.begin(), chinese.end(), [](char c) { return c >= 0; }),
                 chinese.constData());
    }

    void theChosenLanguageIsRemembered()
    {
        QFile::remove(m_user.filePath(QStringLiteral("settings.ini")));
        openWindow({});
        QVERIFY(userFile("logs/plugboard.log").contains("Main window shown in en"));
        QVERIFY(!userFile("logs/plugboard.log").contains("Main window shown in zh_CN"));
        openWindow({QStringLiteral("--language"), QStringLiteral("zh_CN")});
        openWindow({});
        QCOMPARE(userFile("logs/plugboard.log").count("Main window shown in zh_CN"), 2);
        openWindow({QStringLiteral("--language=en")});
        openWindow({});
        QCOMPARE(userFile("logs/plugboard.log").count("Main window shown in en"), 3);
    }

    void theLogIsWhereItBelongs()
    {
        openWindow({QStringLiteral("--log"), QStringLiteral("plugboard.driver=debug")});
        const QByteArray log = userFile("logs/plugboard.log");
        QVERIFY2(log.contains(" debug plugboard.driver ["), log.constData());
        QVERIFY2(!log.contains(" debug plugboard.app ["), log.constData());
        // Records lie beside the program; nothing of the user's lies there.
        const QDir folder(QCoreApplication::applicationDirPath());
        QCOMPARE(folder.entryList({QStringLiteral("*.log"), QStringLiteral("settings.ini"), QStringLiteral("*crash*")}),
                 QStringList());
    }

private:
    void openWindow(const QStringList& arguments) const;
    QByteArray userFile(const char* name) const;

    QTemporaryDir m_user;
};

/// Until its log says that it speaks with the user, then it is ended.
void ProgramLanguageTest::openWindow(const QStringList& arguments) const
{
    const int before = userFile("logs/plugboard.log").count("Main window shown");
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), m_user.path());
    QProcess window;
    window.setProcessEnvironment(environment);
    window.start(programBesideTest("plugboard"), QStringList{QStringLiteral("--demo")} + arguments);
    QVERIFY(window.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(userFile("logs/plugboard.log").count("Main window shown") > before, 60000);
    window.kill();
    QVERIFY(window.waitForFinished());
}

QByteArray ProgramLanguageTest::userFile(const char* name) const
{
    QFile file(m_user.filePath(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

PLUGBOARD_SUITE(ProgramLanguageTest)
#include "program_language_test.moc"
