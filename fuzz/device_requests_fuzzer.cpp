// links: plugboard::emulation_hid plugboard::emulation_storage
// device_requests_fuzzer.cpp: any control requests, transfers, cancellations, resets and commands, in any order. Each
// transfer is completed once and within its bounds; a control transfer at once; after a reset none is left.
#include "emulation/hid/keyboard.h"
#include "emulation/hid/mouse.h"
#include "emulation/storage/disk.h"
#include "emulation/usb/device.h"
#include "fuzz/fuzz_bytes.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <memory>
#include <set>

namespace {

constexpr std::uint32_t kMostPending = 64;

usb::DeviceDescriptors identity(bool superSpeed)
{
    usb::DeviceDescriptors device;
    device.bcdUSB = superSpeed ? 0x0300 : 0x0200;
    device.idVendor = 0x1D6B;
    device.idProduct = 2;
    device.manufacturer = QStringLiteral("Plugboard");
    device.product = QStringLiteral("Device");
    device.serialNumber = QStringLiteral("0123456789AB");
    return device;
}

std::unique_ptr<DeviceFunction> makeFunction(std::uint8_t kind)
{
    static const auto medium = storage::Medium::makeFat32(33, {}).value();
    switch (kind % 4) {
    case 0:
        return std::make_unique<hid::Keyboard>(identity(false));
    case 1:
        return std::make_unique<hid::Mouse>(identity(false));
    default:
        return std::make_unique<storage::Disk>(identity(kind % 4 == 3), medium);
    }
}

class Host
{
public:
    explicit Host(DeviceFunction& function)
        : m_function(function)
        , m_device(function, [this](const usb::Transfer& transfer) { completed(transfer); })
    {}

    void act(FuzzBytes& input)
    {
        switch (input.byte() % 8) {
        case 0:
        case 1:
        case 2:
            return request(input);
        case 3:
            return transferIn(input);
        case 4:
            return transferOut(input);
        case 5:
            require(m_device.cancel(m_last) == (m_pending.count(m_last) != 0) || m_cancelled);
            return;
        case 6:
            m_device.reset();
            return require(m_pending.empty());
        default:
            return command(input);
        }
    }

private:
    void completed(const usb::Transfer& transfer)
    {
        require(transfer.isCompleted());
        require(m_pending.erase(transfer.request().id) == 1);
        require(transfer.actualLength() <= transfer.request().length);
        require(std::uint32_t(transfer.dataIn().size()) <= transfer.request().length);
        m_cancelled = transfer.status() == usb::Status::Cancelled;
    }

    void submit(usb::Transfer::Request request)
    {
        request.id = ++m_last;
        m_pending.insert(m_last);
        m_device.submit(std::move(request));
    }

    void request(FuzzBytes& input)
    {
        const QByteArray bytes = input.bytes(8).leftJustified(8, '\0');
        std::array<std::uint8_t, 8> setup{};
        std::copy(bytes.begin(), bytes.end(), setup.begin());
        usb::Transfer::Request request;
        request.setup = usb::parseSetupPacket(setup);
        request.in = request.setup.isIn();
        request.length = request.setup.wLength;
        if (!request.in)
            request.data = input.bytes(request.setup.wLength);
        submit(std::move(request));
        require(m_pending.count(m_last) == 0);
    }

    void transferIn(FuzzBytes& input)
    {
        if (m_pending.size() >= kMostPending)
            return;
        usb::Transfer::Request request;
        request.endpoint = input.byte() & 0x0F;
        request.in = true;
        request.length = input.word();
        submit(std::move(request));
    }

    void transferOut(FuzzBytes& input)
    {
        if (m_pending.size() >= kMostPending)
            return;
        usb::Transfer::Request request;
        request.endpoint = input.byte() & 0x0F;
        if (request.endpoint == 0)
            return;
        request.data = input.bytes(input.byte());
        request.length = std::uint32_t(request.data.size());
        submit(std::move(request));
    }

    void command(FuzzBytes& input)
    {
        const QString line = QString::fromUtf8(input.bytes(input.byte() % 32)).trimmed();
        // Files of this machine are no part of the game.
        if (line.isEmpty() || line.contains(QLatin1Char('/')))
            return;
        const QString answer = m_function.run(line);
        require(answer.startsWith(QLatin1String("OK: ")) || answer.startsWith(QLatin1String("ERROR: ")));
        require(!m_function.status().isEmpty());
    }

    DeviceFunction& m_function;
    std::uint32_t m_last = 0;
    bool m_cancelled = false;
    std::set<std::uint32_t> m_pending;
    usb::Device m_device;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int argumentCount = 1;
    static char name[] = "fuzzer";
    static char* arguments[] = {name, nullptr};
    static const QCoreApplication application(argumentCount, arguments);
    FuzzBytes input(data, std::min<std::size_t>(size, 2048));
    const auto function = makeFunction(input.byte());
    Host host(*function);
    while (!input.isEmpty())
        host.act(input);
    return 0;
}
