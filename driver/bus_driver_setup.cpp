#include "driver/bus_driver_setup.h"

#include "driver/device_interfaces.h"
#include "driver/engine.h"

#include <thread>

namespace driver {

namespace {

constexpr int kChecks = 3;
constexpr std::chrono::milliseconds kPause{1000};
constexpr const wchar_t* kProgramName = L"usbredir";

} // namespace

BusDriverSetup::BusDriverSetup(DevicePlatform& platform, std::wstring applicationDirectory, Output& output, Sleep sleep)
    : m_platform(platform)
    , m_applicationDirectory(std::move(applicationDirectory))
    , m_output(output)
    , m_sleep(std::move(sleep))
{}

bool BusDriverSetup::installed() const
{
    return !devicePaths(m_platform, kHostControllerInterface).empty();
}

std::vector<ArgumentVector> BusDriverSetup::commands() const
{
    return {{kProgramName, L"dp_add", infPath()}, {kProgramName, L"install", infPath(), L"root\\VUBUS"}};
}

ResultCode BusDriverSetup::install()
{
    return DriverEngine(m_platform, m_output).runEach(commands());
}

bool BusDriverSetup::waitUntilInstalled()
{
    for (int check = 0; check < kChecks; ++check) {
        if (installed())
            return true;
        m_sleep(kPause);
    }
    return false;
}

std::wstring BusDriverSetup::infPath() const
{
    return m_applicationDirectory + L"\\vusbbus.inf";
}

void BusDriverSetup::sleepOfThread(std::chrono::milliseconds time)
{
    std::this_thread::sleep_for(time);
}

} // namespace driver
