#include "app/bus_driver_check.h"
#include "app/logged_output.h"
#include "driver/platform/simulated_platform.h"
#include "driver/platform/system_platform.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

class BusDriverCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyWhatTheChecksFindCounts_data();
    void onlyWhatTheChecksFindCounts();
    void withoutRightsBothCommandsGoThroughOnePrompt();
};

namespace {

const QString kQuestion =
    QStringLiteral("Driver not installed, about to install virtual USB bus driver! Please confirm "
                   "that driver signature enforcement is disabled!");

constexpr const char* kPresent = "a driver that is there shows no box";
constexpr const char* kLate = "a driver that shows up late is waited for";
constexpr const char* kRefused = "refused rights are a failed installation";

/// A simulated system in a folder of its own, with or without the driver package beside the "program".
struct Fixture
{
    explicit Fixture(bool hasPackage)
    {
        if (hasPackage)
            QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE), folder.filePath(QStringLiteral("vusbbus.inf")));
    }

    QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/plug board XXXXXX")};
    std::filesystem::path tree = driver::simulatedTreeFile(folder.path().toStdU16String());
    std::unique_ptr<driver::DevicePlatform> platform = driver::simulatedPlatform(tree);
    ScriptedPrompter prompter;
    LoggedOutput output;
    int sleeps = 0;
    std::function<void()> whileAsleep = [] {};

    driver::BusDriverSetup setup()
    {
        return driver::BusDriverSetup(*platform, folder.path().toStdWString(), output,
                                      [this](std::chrono::milliseconds time) {
                                          sleeps += time == std::chrono::milliseconds(1000) ? 1 : 100;
                                          whileAsleep();
                                      });
    }
};

} // namespace

void BusDriverCheckTest::onlyWhatTheChecksFindCounts_data()
{
    QTest::addColumn<bool>("hasPackage");
    QTest::addColumn<QString>("boxes"); ///< question and failure
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<int>("sleeps");
    const auto row = [](const char* name, bool hasPackage, const char* boxes, bool isThere, int sleeps) {
        QTest::newRow(name) << hasPackage << QString::fromLatin1(boxes) << isThere << sleeps;
    };
    row(kPresent, true, "", true, 0);
    row("a failed installation costs three checks", false, "qf", false, 3);
    row(kLate, false, "q", true, 1);
    row(kRefused, true, "qf", false, 3);
}

void BusDriverCheckTest::onlyWhatTheChecksFindCounts()
{
    QFETCH(bool, hasPackage);
    QFETCH(QString, boxes);
    const QByteArray name = QTest::currentDataTag();
    Fixture fixture(hasPackage);
    auto setup = fixture.setup();
    if (name == kPresent)
        setup.install();
    if (name == kLate)
        fixture.whileAsleep = [&] {
            QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE), fixture.folder.filePath(QStringLiteral("vusbbus.inf")));
            setup.install();
        };
    if (boxes.contains(QLatin1Char('q')))
        fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
    if (boxes.contains(QLatin1Char('f')))
        fixture.prompter.expectInformation(QStringLiteral("Error"), QStringLiteral("Driver installation failed!"));
    const LogLines log;
    const ElevatedDriver refusal = [](const auto&) { return std::nullopt; };
    QTEST(ensureBusDriver(setup, name == kRefused ? refusal : ElevatedDriver(), fixture.prompter), "isThere");
    QCOMPARE(fixture.prompter.verify(), QString());
    QTEST(fixture.sleeps, "sleeps");
    QVERIFY2(hasPackage || log.text().contains(QLatin1String("The driver package could not be added")),
             "the log must tell why an installation failed");
    if (name == kRefused)
        QVERIFY2(!std::filesystem::exists(fixture.tree), "the system was changed");
}

/// The real plugboard-driver stands for the elevated one, in a folder whose name needs quoting.
void BusDriverCheckTest::withoutRightsBothCommandsGoThroughOnePrompt()
{
    Fixture fixture(true);
    auto setup = fixture.setup();
    std::vector<std::vector<std::wstring>> calls;
    const ElevatedDriver elevated = [&](const std::vector<std::wstring>& arguments) -> std::optional<int> {
        calls.push_back(arguments);
        QStringList texts;
        for (const std::wstring& argument : arguments)
            texts << QString::fromStdWString(argument);
        QProcess program;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PLUGBOARD_DEVICE_TREE"), QString::fromStdWString(fixture.tree.wstring()));
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(PLUGBOARD_DRIVER_PROGRAM), texts);
        const bool finished = program.waitForFinished();
        return finished ? std::optional(program.exitCode()) : std::nullopt;
    };
    fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
    QVERIFY(ensureBusDriver(setup, elevated, fixture.prompter));
    QCOMPARE(fixture.prompter.verify(), QString());
    QCOMPARE(fixture.sleeps, 0);

    const std::wstring inf = fixture.folder.path().toStdWString() + L"\\vusbbus.inf";
    const std::vector<std::wstring> expected{L"--each",   L"usbredir", L"dp_add", inf,           L"--then",
                                             L"usbredir", L"install",  inf,       L"root\\VUBUS"};
    QVERIFY2(calls == decltype(calls){expected},
             "the elevated program was not handed both commands, whole, in one call");
}

PLUGBOARD_SUITE(BusDriverCheckTest)
#include "bus_driver_check_test.moc"
