#include "app/bus_driver_check.h"
#include "app/logged_output.h"
#include "driver/platform/simulated_platform.h"
#include "driver/platform/system_platform.h"
#include "driver/sealed_package.h"
#include "driver/sha256.h"
#include "tests/support/log_lines.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QtTest>

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

/// A user during whose answer something happens.
class SlowPrompter final : public Prompter
{
public:
    SlowPrompter(Prompter& user, std::function<void()> meanwhile) : m_user(user), m_meanwhile(std::move(meanwhile)) {}

    void information(QWidget* w, const QString& t, const QString& text) override { m_user.information(w, t, text); }
    void warning(QWidget* w, const QString& t, const QString& text, const QString& r) override
    {
        m_user.warning(w, t, text, r);
    }
    bool question(QWidget* w, const QString& t, const QString& text, const QString& r) override
    {
        m_meanwhile();
        return m_user.question(w, t, text, r);
    }
    QString openFile(QWidget*, const QString&, const QString&, const QString&) override { return {}; }
    QString saveFile(QWidget*, const QString&, const QString&, const QString&) override { return {}; }

private:
    Prompter& m_user;
    std::function<void()> m_meanwhile;
};

/// The real plugboard-driver stands for the elevated one.
std::optional<int> runDriverTool(const Fixture& fixture, const std::vector<std::wstring>& arguments)
{
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
}

} // namespace

class BusDriverCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyWhatTheChecksFindCounts_data()
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

    void onlyWhatTheChecksFindCounts()
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
                QFile::copy(QStringLiteral(SAMPLE_DRIVER_PACKAGE),
                            fixture.folder.filePath(QStringLiteral("vusbbus.inf")));
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

    /// In a folder whose name needs quoting.
    void withoutRightsBothCommandsGoThroughOnePrompt()
    {
        Fixture fixture(true);
        auto setup = fixture.setup();
        std::vector<std::vector<std::wstring>> calls;
        const ElevatedDriver elevated = [&](const std::vector<std::wstring>& arguments) {
            calls.push_back(arguments);
            return runDriverTool(fixture, arguments);
        };
        fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
        QVERIFY(ensureBusDriver(setup, elevated, fixture.prompter));
        QCOMPARE(fixture.prompter.verify(), QString());
        QCOMPARE(fixture.sleeps, 0);

        const std::wstring inf = fixture.folder.path().toStdWString() + L"\\vusbbus.inf";
        const std::vector<std::wstring> expected{L"--sealed", driver::HeldPackage(inf).hash(),
                                                 inf,         L"--each",
                                                 L"usbredir", L"dp_add",
                                                 inf,         L"--then",
                                                 L"usbredir", L"install",
                                                 inf,         L"root\\VUBUS"};
        QVERIFY2(calls == decltype(calls){expected},
                 "the elevated program was not handed both commands, whole, in one call");
    }

    /// Somebody who writes into the folder while the user reads the question, or the system's prompt.
    void whatTheUserWasNotAskedAboutIsNotInstalled_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("inThisProcess");
        QTest::newRow("another INF") << QStringLiteral("vusbbus.inf") << false;
        QTest::newRow("a catalogue that was not there") << QStringLiteral("vusbbus.CAT") << false;
        QTest::newRow("another INF, in a window with all rights") << QStringLiteral("vusbbus.inf") << true;
    }

    void whatTheUserWasNotAskedAboutIsNotInstalled()
    {
        QFETCH(QString, file);
        QFETCH(bool, inThisProcess);
        Fixture fixture(true);
        auto setup = fixture.setup();
        const auto change = [&] {
            QFile changed(fixture.folder.filePath(file));
            return changed.open(QIODevice::Append) && changed.write("; more\n") > 0;
        };
        std::optional<int> result;
        const ElevatedDriver elevated = [&](const std::vector<std::wstring>& arguments) {
            return result = change() ? runDriverTool(fixture, arguments) : 0;
        };
        fixture.prompter.expectQuestion(QStringLiteral("Error"), kQuestion, true);
        fixture.prompter.expectInformation(QStringLiteral("Error"), QStringLiteral("Driver installation failed!"));
        SlowPrompter user(fixture.prompter, [&] { QVERIFY(!inThisProcess || change()); });
        QVERIFY(!ensureBusDriver(setup, inThisProcess ? ElevatedDriver() : elevated, user));
        QCOMPARE(fixture.prompter.verify(), QString());
        QVERIFY2(!std::filesystem::exists(fixture.tree), "the system was changed");
        QCOMPARE(result, inThisProcess ? std::optional<int>() : std::optional<int>(2));
    }

    /// One block, a length that makes a second one, and the published sum of "abc".
    void hashesAreSha256()
    {
        for (const int size : {0, 3, 55, 56, 64, 119, 1000}) {
            const QByteArray bytes = size == 3 ? QByteArray("abc") : QByteArray(size, 'x');
            QCOMPARE(QString::fromStdWString(driver::sha256Text({bytes.constData(), std::size_t(bytes.size())})),
                     QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        }
    }
};

PLUGBOARD_SUITE(BusDriverCheckTest)
#include "bus_driver_check_test.moc"
