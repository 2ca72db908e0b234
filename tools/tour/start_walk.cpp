// start_walk.cpp: the tour's walk through the first start, when the bus driver is not installed yet.
#include "app/bus_driver_check.h"
#include "driver/platform/system_platform.h"
#include "tools/tour/tour.h"
#include "tools/tour/walks.h"

#include <QCoreApplication>
#include <QFile>

namespace {

const QString kQuestion =
    QStringLiteral("Driver not installed, about to install virtual USB bus driver! Please confirm "
                   "that driver signature enforcement is disabled!");

} // namespace

void walkFirstStart(Tour& tour)
{
    const std::wstring folder = QCoreApplication::applicationDirPath().toStdWString();
    const std::filesystem::path tree =
        driver::simulatedTreeFile(QCoreApplication::applicationDirPath().toStdU16String());
    std::filesystem::remove(tree);
    const auto platform = driver::simulatedPlatform(tree);
    driver::BusDriverSetup setup(*platform, folder);

    tour.step(QStringLiteral("first-start-refused"), [&] {
        tour.answerBox(QStringLiteral("driver-question-no"), QStringLiteral("Error"), kQuestion, QMessageBox::No);
        Tour::require(!ensureBusDriver(setup), QStringLiteral("the program goes on"));
        Tour::require(!std::filesystem::exists(tree), QStringLiteral("the engine was called"));
        return QStringLiteral("a No ends the start, and nothing was changed");
    });
    tour.step(QStringLiteral("first-start-accepted"), [&] {
        tour.answerBox(QStringLiteral("driver-question-yes"), QStringLiteral("Error"), kQuestion, QMessageBox::Yes);
        Tour::require(ensureBusDriver(setup), QStringLiteral("the driver was not installed"));
        return QStringLiteral("a Yes installs the sample package");
    });
}
