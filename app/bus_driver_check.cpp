#include "app/bus_driver_check.h"

#include <QCoreApplication>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("BusDriverCheck", text);
}

} // namespace

bool ensureBusDriver(driver::BusDriverSetup& setup, const ElevatedDriver& elevated, Prompter& prompter)
{
    if (setup.installed())
        return true;
    if (!prompter.question(
            nullptr, tr("Error"),
            tr("Driver not installed, about to install virtual USB bus driver! Please confirm that driver "
               "signature enforcement is disabled!")))
        return false;
    // Whether the user refused the rights makes no difference: only what the checks find counts.
    if (elevated)
        elevated(driver::joinArgumentVectors(setup.commands()));
    else
        setup.install();
    if (setup.waitUntilInstalled())
        return true;
    prompter.information(nullptr, tr("Error"), tr("Driver installation failed!"));
    return false;
}
