#include "app/bus_driver_check.h"

#include <QCoreApplication>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("BusDriverCheck", text);
}

} // namespace

bool ensureBusDriver(driver::BusDriverSetup& setup, Prompter& prompter)
{
    if (setup.installed())
        return true;
    if (!prompter.question(
            nullptr, tr("Error"),
            tr("Driver not installed, about to install virtual USB bus driver! Please confirm that driver "
               "signature enforcement is disabled!")))
        return false;
    setup.install();
    if (setup.waitUntilInstalled())
        return true;
    prompter.information(nullptr, tr("Error"), tr("Driver installation failed!"));
    return false;
}
