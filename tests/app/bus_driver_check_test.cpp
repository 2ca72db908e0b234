#include "app/bus_driver_check.h"
#include "driver/platform/system_platform.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QTemporaryDir>
#include <QtTest>

class BusDriverCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void presentDriverShowsNoBox();
    void noEndsWithoutCallingTheEngine();
    void yesInstallsThePackage();
    void failedInstallationCostsThreeChecks();
    void driverThatShowsUpLateIsWaitedFor();
};

namespace {

const QString kQuestion =
    QStringLiteral("Driver not installed, about to install virtual USB bus driver! Please confirm "
                   "that driver signature enforcement is disabled!");

/// A simulated system in a folder of its own, with or without the driver package beside the "program".
struct Fixture
{
    explicit Fixture(bool hasPackage)
    {
        if (hasPackage)
            QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE), folder.filePath(QStringLiteral("vusbbus.inf")));
    }

    QTemporaryDir folder;
    std::filesystem::path tree = driver::simulatedTreeFile(folder.path().toStdU16String());
    std::unique_ptr<driver::DevicePlatform> platform = driver::simulatedPlatform(tree);
    ScriptedPrompter prompter;
    int sleeps = 0;
    std::function<void()> whileAsleep = [] {};

    driver::BusDriverSetup setup()
    {
        return driver::BusDriverSetup(*platform, folder.path().toStdWString(), driver::systemOutput(),
                                      [this](std::chrono::milliseconds time) {
                                          sleeps += time == std::chrono::milliseconds(1000) ? 1 : 100;
                                          whileAsleep();
                                      });
    }
};

} // namespace

void BusDriverCheckTest::presentDriverShowsNoBox()
{
    Fixture fixture(true);
    auto setup = fixture.setup();
    setup.install();
    QVERIFY(ensureBusDriver(setup, fixture.prompter));
    QCOMPARE(fixture.prompter.verify(), QString());
    QCOMPARE(fixture.sleeps, 0);
}

void BusDriverCheckTest::noEndsWithoutCallingTheEngine()
{
    Fixture fixture(true);
    auto setup = fixture.setup();
    fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, false);
    QVERIFY(!ensureBusDriver(setup, fixture.prompter));
    QCOMPARE(fixture.prompter.verify(), QString());
    QVERIFY2(!std::filesystem::exists(fixture.tree), "the system was changed");
}

void BusDriverCheckTest::yesInstallsThePackage()
{
    Fixture fixture(true);
    auto setup = fixture.setup();
    fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
    QVERIFY(ensureBusDriver(setup, fixture.prompter));
    QCOMPARE(fixture.prompter.verify(), QString());
    QVERIFY(setup.installed());
}

void BusDriverCheckTest::failedInstallationCostsThreeChecks()
{
    Fixture fixture(false);
    auto setup = fixture.setup();
    fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
    fixture.prompter.expectInformation(QStringLiteral("Error"), QStringLiteral("Driver installation failed!"));
    QVERIFY(!ensureBusDriver(setup, fixture.prompter));
    QCOMPARE(fixture.prompter.verify(), QString());
    QCOMPARE(fixture.sleeps, 3);
}

void BusDriverCheckTest::driverThatShowsUpLateIsWaitedFor()
{
    Fixture fixture(false);
    auto setup = fixture.setup();
    fixture.whileAsleep = [&] {
        QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE), fixture.folder.filePath(QStringLiteral("vusbbus.inf")));
        setup.install();
    };
    fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
    QVERIFY(ensureBusDriver(setup, fixture.prompter));
    QCOMPARE(fixture.sleeps, 1);
}

PLUGBOARD_SUITE(BusDriverCheckTest)
#include "bus_driver_check_test.moc"
