// What only a Linux shell can do to the program.
#include "tests/support/bus_driver.h"
#include "tests/support/program_run.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class ProgramLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void lostOutputIsAFailure_data();
    void lostOutputIsAFailure();
    void asksForNoDriverOfAnotherSystem();
};

void ProgramLinuxTest::lostOutputIsAFailure_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::newRow("a list") << "--list --json";
    QTest::newRow("the version") << "--version";
}

void ProgramLinuxTest::lostOutputIsAFailure()
{
    QFETCH(QString, arguments);
    const QString line = QStringLiteral("'%1' %2 >/dev/full").arg(programBesideTest("plugboard"), arguments);
    QCOMPARE(QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), line}), 2);
}

/// The kernel's controller is the host here, or a server is.
void ProgramLinuxTest::asksForNoDriverOfAnotherSystem()
{
    std::filesystem::remove(deviceTreeBesideTest());
    const QTemporaryDir folder;
    const ProgramRun run = runWithUser(programBesideTest("plugboard"), {}, {}, folder.path());
    const bool wasTouched = std::filesystem::exists(deviceTreeBesideTest());
    QVERIFY(installBusDriverBesideTest());
    QCOMPARE(run.seen, QStringList{QStringLiteral("window Plugboard")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(!wasTouched, "a simulated driver store was made");
}

PLUGBOARD_SUITE(ProgramLinuxTest)
#include "program_linux_test.moc"
