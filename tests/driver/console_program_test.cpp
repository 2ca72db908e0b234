#include "driver/platform/device_tree_file.h"
#include "tests/support/suite_registry.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Finished
{
    int code = -1;
    QString output;
    QString error;
};

/// UTF-8, on Windows with CR LF.
QString textOf(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes).replace(QLatin1String("\r\n"), QLatin1String("\n"));
}

} // namespace

class ConsoleProgramTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    Finished run(const QStringList& arguments)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PLUGBOARD_DEVICE_TREE"), m_folder.filePath(QStringLiteral("tree.json")));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(PLUGBOARD_DRIVER_PROGRAM), arguments);
        if (!process.waitForFinished())
            return {};
        return {process.exitCode(), textOf(process.readAllStandardOutput()), textOf(process.readAllStandardError())};
    }

private slots:
    /// Text beyond ASCII goes in as an argument and comes out of both streams; results are exit codes; what one run
    /// changed the next one finds.
    void argumentsStreamsAndExitCode()
    {
        QFile tree(m_folder.filePath(QStringLiteral("tree.json")));
        QVERIFY(tree.open(QIODevice::WriteOnly));
        tree.write(
            "{\"devices\":[{\"id\":\"ROOT\\\\A\\\\0\",\"description\":\"Ger\xC3\xA4t \xE4\xB8\xAD \xF0\x9F\x98\x80\","
            "\"status\":9}]}");
        tree.close();

        const QString id = QString::fromUtf8("Ger\xC3\xA4t\xE4\xB8\xAD");
        const Finished edited = run({QStringLiteral("sethwid"), QStringLiteral("@ROOT\\*"), QStringLiteral(":="), id});
        QCOMPARE(edited.code, 0);
        QVERIFY(edited.output.startsWith(QStringLiteral("ROOT\\A\\0")) && edited.output.contains(id));

        const Finished found = run({QStringLiteral("find"), id});
        QCOMPARE(found.code, 0);
        QVERIFY2(found.output.contains(QString::fromUtf8("Ger\xC3\xA4t \xE4\xB8\xAD \xF0\x9F\x98\x80\n")),
                 qPrintable(found.output));
        QCOMPARE(found.error, QString());

        const Finished unknown = run({QStringLiteral("find"), QStringLiteral("=nope"), QStringLiteral("*")});
        QCOMPARE(unknown.output + unknown.error, QString());
        QCOMPARE(unknown.code, 0);
        const Finished usage = run({QStringLiteral("help"), id});
        QVERIFY(usage.code == 0 && usage.output.startsWith(QStringLiteral("plugboard-driver")));
        const Finished wrong = run({id});
        QCOMPARE(wrong.code, 3);
        QVERIFY(wrong.output.isEmpty() && wrong.error.contains(QStringLiteral("plugboard-driver")));
        QCOMPARE(run({QStringLiteral("update"), id, id}).code, 2);
        const Finished nothing = run({QStringLiteral("--each")});
        QCOMPARE(nothing.code, 3);
        QVERIFY(nothing.error.startsWith(QStringLiteral("plugboard-driver")));
    }

    /// Programs that change the same system one beside the other lose none of their changes.
    void changesOfManyPrograms()
    {
        constexpr int kPrograms = 12;
        QTemporaryDir folder;
        const QString tree = folder.filePath(QStringLiteral("tree.json"));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PLUGBOARD_DEVICE_TREE"), tree);
        std::vector<std::unique_ptr<QProcess>> programs;
        for (int i = 0; i < kPrograms; ++i) {
            programs.push_back(std::make_unique<QProcess>());
            programs.back()->setProcessEnvironment(environment);
            programs.back()->start(QStringLiteral(PLUGBOARD_DRIVER_PROGRAM),
                                   {QStringLiteral("install"), QStringLiteral(PLUGBOARD_SAMPLE_DRIVER "/vusbbus.inf"),
                                    QStringLiteral("root\\VUBUS")});
        }
        for (const auto& program : programs)
            QVERIFY(program->waitForFinished() && program->exitCode() == 0);
        const auto after = driver::loadTree(tree.toStdU16String());
        QVERIFY(after);
        QCOMPARE(after->devices.size(), std::size_t(kPrograms));
    }
};

PLUGBOARD_SUITE(ConsoleProgramTest)
#include "console_program_test.moc"
