// links: plugboard::driver
// driver_find_benchmark: find with 10 templates over 10,000 simulated devices; fails when 5,000 are not about half.
#include "driver/engine.h"
#include "driver/platform/simulated_platform.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>

namespace {

class Discard final : public driver::Output
{
public:
    void write(driver::Stream, std::wstring_view text) override { written += text.size(); }
    std::size_t written = 0;
};

driver::DeviceTree treeOf(unsigned count)
{
    driver::DeviceTree tree = driver::DeviceTree::fresh();
    for (unsigned i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(100000 + i);
        driver::SimulatedDevice device;
        device.id = L"USB\\VID_" + number + L"&PID_0001\\5&" + number;
        device.description = L"Device " + number;
        device.hardwareIds = {L"USB\\VID_" + number + L"&PID_0001&REV_0100", L"USB\\VID_" + number + L"&PID_0001"};
        device.compatibleIds = {L"USB\\Class_08&SubClass_06&Prot_50", L"USB\\Class_08&SubClass_06", L"USB\\Class_08"};
        tree.add(std::move(device));
    }
    return tree;
}

/// Best of several runs, in milliseconds. Ten templates: wildcards, ids, literals; some devices match, most do not.
double millisecondsFor(unsigned count)
{
    driver::SimulatedPlatform platform(treeOf(count));
    Discard output;
    driver::DriverEngine engine(platform, output);
    const std::array<std::wstring, 12> arguments{L"benchmark",      L"find",
                                                 L"PCI\\*",         L"USB\\VID_1000*REV_0200",
                                                 L"*&SubClass_07",  L"@ROOT\\*",
                                                 L"@USB\\*\\5&99*", L"'USB\\VID_*",
                                                 L"HID\\*&COL*01",  L"USB\\VID_100042&PID_0001",
                                                 L"*ROOT*HUB*30",   L"@USB\\VID_100077&PID_0001\\5&100077"};
    double best = 1e9;
    for (int run = 0; run < 9; ++run) {
        const auto start = std::chrono::steady_clock::now();
        if (engine.run(arguments) != driver::kSuccess || output.written == 0)
            return 1e9;
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        best = std::min(best, time.count());
    }
    return best;
}

} // namespace

int main()
{
    constexpr double kLimit = 50;
    constexpr double kLargestGrowth = 2.6; // twice the devices; the rest is noise
    const double half = millisecondsFor(5000);
    const double whole = millisecondsFor(10000);
    std::printf("{\"benchmark\":\"driver_find\",\"unit\":\"ms\",\"ours\":%.2f,\"peer\":\"none\",\"peer_value\":null,"
                "\"ratio\":null,\"limit\":%.0f}\n",
                whole, kLimit);
    if (whole / half > kLargestGrowth)
        std::fprintf(stderr, "driver_find: 5,000 devices take %.2f ms, 10,000 take %.2f ms: not linear\n", half, whole);
    return whole <= kLimit && whole / half <= kLargestGrowth ? 0 : 1;
}
