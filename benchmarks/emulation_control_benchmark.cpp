// links: plugboard::emulation_link
// emulation_control_benchmark.cpp: the round trip of a control transfer through the link.
#include "benchmarks/link_bench.h"
#include "benchmarks/report.h"

namespace {

constexpr int kTransfers = 20000;

/// Microseconds of one round trip: the device's descriptor is asked for, 18 bytes come back.
double roundTrip(int socket)
{
    const usbip::Header request = bench::controlHeader(2, "8006000100001200");
    std::array<char, usbip::kHeaderSize + 18> answer;
    return 1000.0 / kTransfers * millisecondsOf([&] {
               for (int i = 0; i < kTransfers; ++i) {
                   bench::writeAll(socket, request.data(), request.size());
                   bench::readAll(socket, answer.data(), answer.size());
               }
           });
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_NO_GLIB", "1"); // as the device process does
    QCoreApplication application(argc, argv);
    const auto ours = [] {
        double time = 0;
        bench::withLink([&](int socket) { time = roundTrip(socket); });
        return time;
    };
    const auto peer = [] {
        double time = 0;
        bench::withBareSocket(usbip::kHeaderSize, usbip::kHeaderSize + 18,
                              [&](int socket) { time = roundTrip(socket); });
        return time;
    };
    const PairOfMedians medians = measureInTurn(7, ours, peer);
    report("emulation_control", "us", medians.ours, "bare socket pair, the same bytes", medians.peer, "ratio <= 2");
    return 0;
}
