#include "runtime/crash_notes.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QString child()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/runtime_test_child");
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// A child process crashes in every way that is known; its next start must tell of it.
class CrashNoteTest : public QObject
{
    Q_OBJECT

private slots:
    void everyCrashLeavesANote_data()
    {
        QTest::addColumn<QString>("onLinux");
        QTest::addColumn<QString>("onWindows");
        const auto row = [](const char* how, const char* onLinux, const char* onWindows) {
            QTest::newRow(how) << QString::fromLatin1(onLinux) << QString::fromLatin1(onWindows);
        };
        row("fault", "signal: SIGSEGV", "exception: 0xc0000005");
        row("abort", "signal: SIGABRT", "abort: 0x40000015");
        row("exception", "signal: SIGABRT", "abort: 0x40000015");
        row("fatal", "signal: SIGABRT", "abort: 0x40000015");
        row("thread", "signal: SIGSEGV", "exception: 0xc0000005");
        row("stack", "signal: SIGSEGV", "exception: 0xc00000fd");
    }

    void everyCrashLeavesANote()
    {
        QFETCH(QString, onLinux);
        QFETCH(QString, onWindows);
        const QString how = QString::fromLatin1(QTest::currentDataTag());
        const bool endedWell = run(how);
#ifdef Q_OS_WIN
        // Wine lets such a process end with exit code 0 when its handler runs out of stack as well.
        QVERIFY2(!endedWell || how == QLatin1String("stack"), "it did not crash");
#else
        QVERIFY2(!endedWell, "it did not crash");
#endif

        const QStringList notes = takeNewCrashNotes(m_logs, QStringLiteral("child"));
        QCOMPARE(notes.size(), 1);
        const QString note = QString::fromUtf8(contentOf(notes[0]));
        QVERIFY2(note.startsWith(QStringLiteral("child 1.2.3 crashed\nsystem: ")), qPrintable(note));
#ifdef Q_OS_WIN
        QVERIFY2(note.contains(onWindows), qPrintable(note));
#else
        QVERIFY2(note.contains(onLinux), qPrintable(note));
        const QFile::Permissions others = QFile::ReadGroup | QFile::ReadOther | QFile::ExeGroup | QFile::ExeOther;
        QCOMPARE(QFile::permissions(notes[0]) & others, QFile::Permissions());
        QVERIFY2(!(QFile::permissions(m_logs) & others), "the program keeps what it makes to its user");
#endif
#ifdef Q_OS_WIN
        if (how == QLatin1String("stack"))
            return; // under Wine little is left of the stack to look up frames with
#endif
        // Some frame of the stack lies in the program itself, module and offset.
        const QRegularExpression frame(QStringLiteral("runtime_test_child[^\\n]*\\+0x[0-9a-f]+"));
        QVERIFY2(note.section(QStringLiteral("stack:\n"), 1).contains(frame), qPrintable(note));
    }

    void aNoteIsToldOfOnce()
    {
        QFile::remove(m_logs + QStringLiteral("/child.log"));
        QVERIFY(!run(QStringLiteral("fault")));
        QVERIFY(run(QStringLiteral("nothing")));
        QVERIFY(run(QStringLiteral("nothing")));
        const QString log = QString::fromUtf8(contentOf(m_logs + QStringLiteral("/child.log")));
        const QString sentence = QStringLiteral("An earlier run crashed; its note lies in ");
        QCOMPARE(log.count(sentence), 1);
        const QString path = log.section(sentence, 1).section(QLatin1Char('\n'), 0, 0).trimmed();
        QVERIFY2(contentOf(path).startsWith("child 1.2.3 crashed"), qPrintable(path));
    }

    void aFolderThatCannotBeWrittenStopsNothing()
    {
        QTemporaryDir elsewhere;
        const QString file = elsewhere.filePath(QStringLiteral("file"));
        QVERIFY(QFile(file).open(QIODevice::WriteOnly));
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), file + QStringLiteral("/below"));
        process.setProcessEnvironment(environment);
        process.start(child(), {QStringLiteral("nothing")});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardError(), QByteArray());
    }

    void onlyTheNewestNotesAreKept()
    {
        const QTemporaryDir folder;
        for (int number = 0; number < 14; ++number) {
            QFile note(folder.filePath(QStringLiteral("p-crash-new-%1-1.txt").arg(number)));
            QVERIFY(note.open(QIODevice::WriteOnly));
            note.setFileTime(QDateTime::currentDateTime().addSecs(-1000 + number * 10),
                             QFileDevice::FileModificationTime);
        }
        QFile foreign(folder.filePath(QStringLiteral("other-crash-new-1-1.txt")));
        QVERIFY(foreign.open(QIODevice::WriteOnly));
        QCOMPARE(takeNewCrashNotes(folder.path(), QStringLiteral("p")).size(), 14);
        const QStringList left = QDir(folder.path()).entryList({QStringLiteral("p-crash-*")}, QDir::Files, QDir::Time);
        QCOMPARE(left.size(), 10);
        QVERIFY2(left.first().endsWith(QStringLiteral("-13-1.txt")), qPrintable(left.first()));
        QVERIFY(foreign.exists());
    }

private:
    bool run(const QString& how);

    QTemporaryDir m_folder;
    QString m_logs = m_folder.path() + QStringLiteral("/logs");
    QProcess m_child;
};

/// True when it ended by itself with exit code 0.
bool CrashNoteTest::run(const QString& how)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PLUGBOARD_USER_DATA"), m_folder.path());
    m_child.setProcessEnvironment(environment);
    m_child.start(child(), {how});
    return m_child.waitForFinished(60000) && m_child.exitStatus() == QProcess::NormalExit && m_child.exitCode() == 0;
}

PLUGBOARD_SUITE(CrashNoteTest)
#include "crash_note_test.moc"
