#include "app/bus_driver_check.h"

#include "app/log.h"

#include <QCoreApplication>

namespace {

struct BusDriverCheck
{
    Q_DECLARE_TR_FUNCTIONS(BusDriverCheck)
};

} // namespace

bool ensureBusDriver(driver::BusDriverSetup& setup, const ElevatedDriver& elevated, Prompter& prompter)
{
    if (setup.installed()) {
        qCDebug(driverLog) << "The bus driver is installed";
        return true;
    }
    qCInfo(driverLog) << "The bus driver is not installed";
    if (!prompter.question(
            nullptr, BusDriverCheck::tr("Error"),
            BusDriverCheck::tr(
                "Driver not installed, about to install virtual USB bus driver! Please confirm that driver "
                "signature enforcement is disabled!")))
        return false;
    // Whether the user refused the rights makes no difference: only what the checks find counts.
    const std::optional<int> result =
        elevated ? elevated(driver::joinArgumentVectors(setup.commands())) : static_cast<int>(setup.install());
    if (result)
        qCInfo(driverLog) << "The installation ended with result" << *result;
    else
        qCWarning(driverLog) << "The elevated driver program did not run";
    if (setup.waitUntilInstalled()) {
        qCInfo(driverLog) << "The bus driver was installed";
        return true;
    }
    qCWarning(driverLog) << "The bus driver is still not there after its installation";
    prompter.information(nullptr, BusDriverCheck::tr("Error"), BusDriverCheck::tr("Driver installation failed!"));
    return false;
}
