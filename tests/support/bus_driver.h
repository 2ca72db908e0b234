// bus_driver.h: the simulated system of the programs that lie beside a test.
#pragma once

#include "driver/bus_driver_setup.h"
#include "driver/platform/system_platform.h"

#include <QCoreApplication>

inline std::filesystem::path deviceTreeBesideTest()
{
    return driver::simulatedTreeFile(QCoreApplication::applicationDirPath().toStdU16String());
}

/// Puts the driver there from the package that was copied with the program, so that the programs start without a
/// question; false when that fails.
inline bool installBusDriverBesideTest()
{
    const QString folder = QCoreApplication::applicationDirPath();
    const auto platform = driver::simulatedPlatform(deviceTreeBesideTest());
    driver::BusDriverSetup setup(*platform, folder.toStdWString());
    if (!setup.installed())
        setup.install();
    return setup.installed();
}
