// What only a Linux shell can do to the program.
#include "tests/support/program_run.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QtTest>

class ProgramLinuxTest : public QObject
{
    Q_OBJECT

private slots:
    void lostOutputIsAFailure_data();
    void lostOutputIsAFailure();
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

PLUGBOARD_SUITE(ProgramLinuxTest)
#include "program_linux_test.moc"
