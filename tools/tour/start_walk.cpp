// start_walk.cpp: the tour's walk through the first start, when the bus driver is not installed yet: the program
// itself, run to its end by a user of its own.
#include "driver/bus_driver_setup.h"
#include "driver/platform/system_platform.h"
#include "tests/support/started_program.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

class StartWalk
{
public:
    explicit StartWalk(Tour& tour) : m_tour(tour) {}

    void run();

private:
    RunByUser start(const QString& answer, const QStringList& expected);
    void showSeen(const QString& name, int number, const QString& detail);

    Tour& m_tour;
    const QString m_question = m_tour.said("Error") + QStringLiteral(": ") +
                               m_tour.said("Driver not installed, about to install virtual USB bus driver! Please "
                                           "confirm that driver signature enforcement is disabled!");
    QTemporaryDir m_folder;
    std::filesystem::path m_tree = driver::simulatedTreeFile(QCoreApplication::applicationDirPath().toStdU16String());
};

void StartWalk::run()
{
    std::filesystem::remove(m_tree);
    m_tour.step(QStringLiteral("first-start-refused"), [this] {
        const RunByUser run = start(QStringLiteral("No"), {m_question});
        showSeen(QStringLiteral("driver-question-no"), 1, QStringLiteral("answered with No"));
        Tour::require(run.exitCode == 255, QStringLiteral("exit code %1").arg(run.exitCode));
        Tour::require(!std::filesystem::exists(m_tree), QStringLiteral("the engine was called"));
        return QStringLiteral("a No ends the program with exit code 255, and nothing was changed");
    });
    m_tour.step(QStringLiteral("first-start-accepted"), [this] {
        const RunByUser run = start(QStringLiteral("Yes"), {m_question, QStringLiteral("window Plugboard")});
        showSeen(QStringLiteral("driver-question-yes"), 1, QStringLiteral("answered with Yes"));
        showSeen(QStringLiteral("window-after-yes"), 2, QStringLiteral("the window appears"));
        Tour::require(run.exitCode == 0, QStringLiteral("exit code %1").arg(run.exitCode));
        const auto platform = driver::simulatedPlatform(m_tree);
        Tour::require(driver::BusDriverSetup(*platform, std::wstring()).installed(),
                      QStringLiteral("the driver was not installed"));
        return QStringLiteral("a Yes installs the sample package and opens the window");
    });
    m_tour.step(QStringLiteral("second-start"), [this] {
        const RunByUser run = start(QStringLiteral("No"), {QStringLiteral("window Plugboard")});
        Tour::require(run.exitCode == 0, QStringLiteral("exit code %1").arg(run.exitCode));
        return QStringLiteral("the driver is there: the window appears without a question");
    });
}

/// Runs the program with an answer to every box and checks which windows it showed.
RunByUser StartWalk::start(const QString& answer, const QStringList& expected)
{
    const QString program =
        QStandardPaths::findExecutable(QStringLiteral("plugboard"), {QCoreApplication::applicationDirPath()});
    QFile::remove(m_folder.filePath(QString::fromLatin1(kSeenFile)));
    const RunByUser run =
        runWithUser(program, {QStringLiteral("--demo"), QStringLiteral("--language"), languageWord(m_tour.language())},
                    {answer}, m_folder.path());
    Tour::require(run.seen == expected, QStringLiteral("seen: ") + run.seen.join(QStringLiteral(" | ")));
    return run;
}

void StartWalk::showSeen(const QString& name, int number, const QString& detail)
{
    m_tour.step(name, [&] {
        QPixmap seen(m_folder.filePath(QString::fromLatin1(kSeenPicture).arg(number)));
        seen.setDevicePixelRatio(qApp->devicePixelRatio());
        m_tour.picture(seen);
        return detail;
    });
}

} // namespace

void walkFirstStart(Tour& tour)
{
    StartWalk(tour).run();
}
