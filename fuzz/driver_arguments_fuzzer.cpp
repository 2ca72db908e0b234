// links: plugboard::driver
// driver_arguments_fuzzer: commands as lines, arguments split at spaces, one after the other on a simulated system.
#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/platform/device_tree_file.h"
#include "driver/platform/simulated_platform.h"
#include "driver/text.h"

#include <cstdint>
#include <cstdlib>

namespace {

class Discard final : public driver::Output
{
public:
    void write(driver::Stream, std::wstring_view text) override { written += text.size(); }
    std::size_t written = 0;
};

driver::DeviceTree smallTree()
{
    driver::DeviceTree tree = driver::DeviceTree::fresh();
    tree.services = {L"a", L"b"};
    tree.machines = {L"M"};
    tree.classes[0].upperFilters = {L"a", L"b", L"A"};
    const driver::Guid system = tree.classes[0].guid;
    for (const wchar_t* id : {L"ROOT\\A\\0000", L"ROOT\\B\\0000", L"USB\\C\\1"}) {
        driver::SimulatedDevice device;
        device.id = id;
        device.setupClass = system;
        device.hardwareIds = {std::wstring(id).substr(0, 6), L"X"};
        device.status.flags = driver::node_status::kStarted | driver::node_status::kRootEnumerated;
        device.rebootAfterChange = tree.devices.empty();
        tree.add(device);
    }
    return tree;
}

/// Nothing outside the simulated system is touched: paths that lead into folders are left out.
bool harmless(std::string_view word)
{
    return word.find('/', 1) == std::string_view::npos && word.find("..") == std::string_view::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 2048)
        return 0;
    driver::SimulatedPlatform platform(smallTree());
    Discard output;
    driver::DriverEngine engine(platform, output);
    std::string_view text(reinterpret_cast<const char*>(data), size);
    for (int commands = 0; !text.empty() && commands < 16; ++commands) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        std::vector<std::wstring> arguments{L"fuzzer"};
        while (!line.empty()) {
            const std::string_view word = line.substr(0, line.find(' '));
            line.remove_prefix(std::min(word.size() + 1, line.size()));
            if (harmless(word))
                arguments.push_back(driver::fromUtf8(word));
        }
        if (engine.run(arguments) > driver::kUsageError || platform.openObjects() != 0)
            std::abort();
    }
    const auto again = driver::parseTree(driver::treeText(platform.tree()));
    if (!again || again->devices.size() != platform.tree().devices.size())
        std::abort();
    driver::devicePaths(platform, driver::kHostControllerInterface);
    return 0;
}
