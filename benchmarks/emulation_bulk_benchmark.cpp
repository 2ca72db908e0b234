// links: plugboard::emulation_link
// emulation_bulk_benchmark.cpp: bulk transfers of 64 KiB through the link, both ways.
#include "benchmarks/link_bench.h"
#include "benchmarks/report.h"

namespace {

constexpr int kTransfers = 4000; // each way
constexpr std::size_t kSize = 64 * 1024;
constexpr std::size_t kMessage = usbip::kHeaderSize + kSize;

/// MB/s of one way, with one transfer after the other.
double rate(int socket, bool in)
{
    usbip::Submit submit;
    submit.sequence = 2;
    submit.deviceId = bench::kDeviceId;
    submit.endpoint = in ? 1 : 2;
    submit.in = in;
    submit.length = kSize;
    const usbip::Header header = usbip::headerOf(submit);
    std::vector<char> request(in ? usbip::kHeaderSize : kMessage, 'x');
    std::copy(header.begin(), header.end(), request.begin());
    std::vector<char> answer(in ? kMessage : usbip::kHeaderSize);
    const double time = millisecondsOf([&] {
        for (int i = 0; i < kTransfers; ++i) {
            bench::writeAll(socket, request.data(), request.size());
            bench::readAll(socket, answer.data(), answer.size());
        }
    });
    return kTransfers * (kSize / 1e6) / (time / 1000);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_NO_GLIB", "1"); // as the device process does
    QCoreApplication application(argc, argv);
    for (const bool in : {false, true}) {
        const auto ours = [in] {
            double figure = 0;
            bench::withLink([&](int socket) { figure = rate(socket, in); });
            return figure;
        };
        const auto peer = [in] {
            double figure = 0;
            bench::withBareSocket(in ? usbip::kHeaderSize : kMessage, in ? kMessage : usbip::kHeaderSize,
                                  [&](int socket) { figure = rate(socket, in); });
            return figure;
        };
        const PairOfMedians medians = measureInTurn(7, ours, peer);
        report(in ? "emulation_bulk, IN" : "emulation_bulk, OUT", "MB/s", medians.ours,
               "bare socket pair, the same bytes", medians.peer, "ratio >= 0.6");
    }
    return 0;
}
