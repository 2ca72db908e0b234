#include "driver/bus_driver_setup.h"

#include "driver/device_interfaces.h"
#include "driver/engine.h"

#include <array>
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

void BusDriverSetup::install()
{
    DriverEngine engine(m_platform, m_output);
    const std::wstring inf = infPath();
    const std::array<const wchar_t*, 3> add{kProgramName, L"dp_add", inf.c_str()};
    const std::array<const wchar_t*, 4> create{kProgramName, L"install", inf.c_str(), L"root\\VUBUS"};
    engine.run(static_cast<int>(add.size()), add.data());
    engine.run(static_cast<int>(create.size()), create.data());
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
