// links: plugboard::driver
// inf_package_fuzzer: a driver package's INF: read, asked for everything, stored, installed on a device, listed.
#include "driver/engine.h"
#include "driver/platform/inf_package.h"
#include "driver/platform/simulated_platform.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace {

class Discard final : public driver::Output
{
public:
    void write(driver::Stream, std::wstring_view) override {}
};

/// What the engine does with a package that the simulated store holds already, and with one that it is to store.
void runCommands(std::string_view bytes, const driver::InfPackage* package)
{
    driver::DeviceTree tree = driver::DeviceTree::fresh();
    tree.packages.push_back({L"oem0.inf", {}, std::string(bytes), {}, 0});
    driver::SimulatedDevice device;
    device.id = L"ROOT\\A\\0000";
    device.hardwareIds = {L"ROOT\\VUBUS"};
    tree.add(device);
    driver::SimulatedPlatform platform(std::move(tree));
    Discard output;
    driver::DriverEngine engine(platform, output);
    static const std::string file =
        std::filesystem::temp_directory_path() / ("inf_package_fuzzer." + std::to_string(::getpid()));
    std::ofstream(file, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<long>(bytes.size()));
    const std::wstring path(file.begin(), file.end());
    const std::vector<driver::ArgumentVector> commands{{L"f", L"dp_enum"},
                                                       {L"f", L"drivernodes", L"*"},
                                                       {L"f", L"install", path, L"root\\VUBUS"},
                                                       {L"f", L"driverfiles", L"*"},
                                                       {L"f", L"dp_delete", L"oem0.inf"}};
    engine.runEach(commands);
    if (platform.openObjects() != 0)
        std::abort();
    if (package == nullptr && platform.tree().devices.size() != 1) // which no file but a package makes a device of
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto package = driver::InfPackage::read(bytes);
    if (package)
        for (const wchar_t* id : {L"root\\VUBUS", L"USB\\VID_1234", L""})
            if (const driver::InfModel* const model = package->modelFor({id})) {
                const auto made = package->driver(*model, L"oem0.inf");
                if (made.section != model->section)
                    std::abort();
                package->service(*model);
                package->interfaces(*model);
                package->needsReboot(*model);
            }
    runCommands(bytes, package ? &*package : nullptr);
    return 0;
}
