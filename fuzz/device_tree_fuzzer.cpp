// links: plugboard::driver
// device_tree_fuzzer: the file of a simulated system: what is a tree stays the same when it is written and read again,
// and every reading command ends on it.
#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/platform/device_tree_file.h"
#include "driver/platform/simulated_platform.h"

#include <cstdint>
#include <cstdlib>

namespace {

class Discard final : public driver::Output
{
public:
    void write(driver::Stream, std::wstring_view) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto tree = driver::parseTree({reinterpret_cast<const char*>(data), size});
    if (!tree)
        return 0;
    const std::string text = driver::treeText(*tree);
    const auto again = driver::parseTree(text);
    if (!again || driver::treeText(*again) != text)
        std::abort();
    driver::SimulatedPlatform platform(std::move(*tree));
    Discard output;
    static const std::vector<driver::ArgumentVector> commands{
        {L"f", L"status", L"*"},      {L"f", L"resources", L"*"},   {L"f", L"driverfiles", L"*"},
        {L"f", L"drivernodes", L"*"}, {L"f", L"stack", L"*"},       {L"f", L"hwids", L"*"},
        {L"f", L"classes"},           {L"f", L"listclass", L"USB"}, {L"f", L"dp_enum"}};
    driver::DriverEngine(platform, output).runEach(commands);
    driver::DriverEngine(platform, output, {true, false, true}).run(driver::ArgumentVector{L"f", L"find", L"*"});
    driver::DriverEngine(platform, output, {true, false, false}).run(driver::ArgumentVector{L"f", L"dp_enum"});
    driver::devicePaths(platform, driver::kHostControllerInterface);
    if (platform.openObjects() != 0)
        std::abort();
    return 0;
}
