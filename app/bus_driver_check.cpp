#include "app/bus_driver_check.h"

#include "app/log.h"
#include "driver/sealed_package.h"

#include <QCoreApplication>

namespace {

struct BusDriverCheck
{
    Q_DECLARE_TR_FUNCTIONS(BusDriverCheck)
};

/// For a window that may change the system itself: it checks what the elevated program would check.
std::optional<int> installHere(driver::BusDriverSetup& setup, const std::wstring& hash)
{
    const driver::HeldPackage package(setup.infPath());
    if (package.hash() != hash) {
        qCWarning(driverLog) << "The driver package was changed while the user was asked: nothing was installed";
        return static_cast<int>(driver::kFailure);
    }
    return static_cast<int>(setup.install());
}

} // namespace

bool ensureBusDriver(driver::BusDriverSetup& setup, const ElevatedDriver& elevated, Prompter& prompter)
{
    if (setup.installed()) {
        qCDebug(driverLog) << "The bus driver is installed";
        return true;
    }
    qCInfo(driverLog) << "The bus driver is not installed";
    // Taken before the question, so that a change to the package while the user reads is not installed.
    const std::wstring hash = driver::HeldPackage(setup.infPath()).hash();
    if (!prompter.question(
            nullptr, BusDriverCheck::tr("Error"),
            BusDriverCheck::tr(
                "Driver not installed, about to install virtual USB bus driver! Please confirm that driver "
                "signature enforcement is disabled!")))
        return false;
    // Whether the user refused the rights makes no difference: only what the checks find counts.
    const std::optional<int> result =
        elevated
            ? elevated(driver::sealedArguments(hash, setup.infPath(), driver::joinArgumentVectors(setup.commands())))
            : installHere(setup, hash);
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
