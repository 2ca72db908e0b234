// links: plugboard::emulation_securitykey
// ctap_hid_fuzzer.cpp: whatever reports come, in whatever order and time, the next host gets a channel and an answer.
#include "emulation/securitykey/ctap_hid.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using namespace ctap;

void check(bool holds)
{
    if (!holds)
        std::abort();
}

class Handler : public RequestHandler
{
public:
    void request(HidCommand command, const QByteArray& message) override
    {
        check(!isBusy && !message.isEmpty() && message.size() <= CtapHid::kLongestMessage);
        check(command == HidCommand::Cbor || command == HidCommand::Message);
        isBusy = true;
    }
    void cancel() override
    {
        check(isBusy);
        isBusy = false;
        if (hid)
            hid->answer("c");
    }
    Activity activity() const override { return Activity::WaitsForUser; }

    CtapHid* hid = nullptr;
    bool isBusy = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Handler handler;
    std::vector<QByteArray> reports;
    CtapHid hid(handler, [&reports](const QByteArray& report) {
        check(report.size() == CtapHid::kReportSize);
        reports.push_back(report);
    });
    handler.hid = &hid;
    Milliseconds now = 0;
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    // Steps: one byte that says what happens and how many bytes of the input go into it.
    for (int at = 0; at < input.size();) {
        const int step = std::uint8_t(input[at]);
        const int length = step & 0x3F;
        const QByteArray bytes = input.mid(at + 1, length);
        at += 1 + length;
        switch (step >> 6) {
        case 0:
        case 1:
            hid.takeReport(bytes + QByteArray(CtapHid::kReportSize - bytes.size(), '\0'), now);
            break;
        case 2:
            hid.advance(now += length * 60);
            break;
        default:
            handler.isBusy = false;
            hid.answer(bytes.repeated(120).left(CtapHid::kLongestMessage));
        }
    }
    handler.isBusy = false;
    hid.answer("x");
    now += 20000; // longer than any message or lock lasts
    reports.clear();
    hid.advance(now);
    hid.takeReport(QByteArray::fromHex("ffffffff86000801020304050607f8") + QByteArray(49, '\0'), now);
    check(!reports.empty() && reports.back().startsWith(QByteArray::fromHex("ffffffff86001101020304050607f8")));
    const QByteArray channel = reports.back().mid(15, 4);
    reports.clear();
    hid.takeReport(channel + QByteArray::fromHex("81000155") + QByteArray(56, '\0'), now);
    check(reports.size() == 1 && reports.front().startsWith(channel + QByteArray::fromHex("81000155")));
    return 0;
}
