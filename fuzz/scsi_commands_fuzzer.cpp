// links: plugboard::emulation_storage
// scsi_commands_fuzzer.cpp: any commands in wrappers that say any length and direction, with data in any pieces, cut
// short, more than promised, and resets in between. Every valid wrapper gets its one status with a residue that fits
// what moved, every other stalls both pipes until the reset, and blocks hold what was written last.
#include "emulation/storage/disk.h"
#include "emulation/usb/device.h"
#include "fuzz/fuzz_bytes.h"

#include <QCoreApplication>
#include <QtEndian>

#include <map>
#include <memory>
#include <optional>

namespace {

constexpr std::uint8_t kIn = 0x81;
constexpr std::uint8_t kOut = 0x02;
constexpr int kPacket = 512;
constexpr int kBlock = storage::kBlockSize;
constexpr std::uint32_t kLongest = 16 * kBlock; ///< bytes of one command's data

usb::DeviceDescriptors identity()
{
    usb::DeviceDescriptors device;
    device.bcdUSB = 0x0200;
    device.manufacturer = QStringLiteral("Plugboard");
    device.product = QStringLiteral("Disk");
    device.serialNumber = QStringLiteral("0123456789AB");
    return device;
}

const storage::Medium::Pointer& medium()
{
    static const auto made = storage::Medium::makeFat32(33, {}).value();
    return made;
}

/// What became of a transfer.
struct Result
{
    usb::Status status = usb::Status::Ok;
    QByteArray data;
};

/// A READ or WRITE of any length.
struct BlockCommand
{
    bool write = false;
    storage::BlockRange range;
};

std::optional<BlockCommand> blockCommand(const QByteArray& block)
{
    const storage::CommandBlock command(block);
    if (!command.isComplete())
        return std::nullopt;
    switch (command.operation()) {
    case 0x08:
    case 0x28:
    case 0x88:
    case 0xA8:
        return BlockCommand{false, command.range()};
    case 0x0A:
    case 0x2A:
    case 0x8A:
    case 0xAA:
        return BlockCommand{true, command.range()};
    default:
        return std::nullopt;
    }
}

class Host
{
public:
    Host()
        : m_disk(identity(), medium())
        , m_device(m_disk, [this](const usb::Transfer& transfer) {
            require(m_results.emplace(transfer.request().id, Result{transfer.status(), transfer.dataIn()}).second);
        })
    {
        control(0x00, 9, 1, 0);
    }

    /// What was written is blank again for the next host.
    ~Host()
    {
        for (const auto& [number, content] : m_written)
            medium()->write(std::int64_t(number) * kBlock, m_before[number].constData(), kBlock);
    }

    void act(FuzzBytes& input)
    {
        switch (input.byte() % 16) {
        case 0:
            return invalidWrapper(input);
        case 1:
            return resetWithinCommand(input);
        case 2:
            require(!m_disk.run(QStringLiteral("eject force")).isEmpty());
            return;
        case 3:
            require(!m_disk.run(QStringLiteral("insert")).isEmpty());
            return;
        default:
            return command(input);
        }
    }

private:
    Result* find(std::uint32_t number)
    {
        const auto found = m_results.find(number);
        return found == m_results.end() ? nullptr : &found->second;
    }

    std::uint32_t submit(usb::Transfer::Request request)
    {
        request.id = ++m_last;
        m_device.submit(std::move(request));
        return m_last;
    }

    void control(std::uint8_t type, std::uint8_t code, std::uint16_t value, std::uint16_t index)
    {
        usb::Transfer::Request request;
        request.setup = {type, code, value, index, 0};
        const Result* result = find(submit(std::move(request)));
        require(result != nullptr && result->status == usb::Status::Ok);
    }

    void clearHalts()
    {
        control(0x02, 1, 0, kIn);
        control(0x02, 1, 0, kOut);
    }

    void reset() { control(0x21, 0xFF, 0, 0); }

    Result in(std::uint32_t length)
    {
        usb::Transfer::Request request;
        request.endpoint = kIn & 0x0F;
        request.in = true;
        request.length = length;
        const Result* result = find(submit(std::move(request)));
        require(result != nullptr); // the disk keeps nobody waiting
        return *result;
    }

    Result out(const QByteArray& data)
    {
        usb::Transfer::Request request;
        request.endpoint = kOut;
        request.length = std::uint32_t(data.size());
        request.data = data;
        const Result* result = find(submit(std::move(request)));
        require(result != nullptr);
        return *result;
    }

    QByteArray wrapper(std::uint32_t length, bool wantsIn, const QByteArray& block, int unit)
    {
        QByteArray bytes = "USBC" + QByteArray(27, '\0');
        qToLittleEndian(++m_tag, bytes.data() + 4);
        qToLittleEndian(length, bytes.data() + 8);
        bytes[12] = wantsIn ? '\x80' : '\0';
        bytes[13] = char(unit);
        bytes[14] = char(block.size());
        bytes.replace(15, block.size(), block);
        return bytes;
    }

    /// Bytes of a command, its blocks mostly among the first.
    static QByteArray commandBlock(FuzzBytes& input)
    {
        static constexpr std::uint8_t kOperations[] = {0x28, 0x2A, 0x08, 0x0A, 0x88, 0x8A, 0xA8, 0xAA,
                                                       0x12, 0x03, 0x1A, 0x5A, 0x15, 0x55, 0x1B, 0x1E};
        QByteArray block = input.bytes(1 + input.byte() % storage::CommandBlock::kLongest);
        if (block.isEmpty())
            block = QByteArray(6, '\0');
        const auto first = std::uint8_t(block[0]);
        if (first >= 0xC0)
            block[0] = char(kOperations[first % std::size(kOperations)]);
        if (block.size() >= 10 && first % 2 == 1)
            block.replace(2, 3, QByteArray(3, '\0'));
        return block;
    }

    void command(FuzzBytes& input)
    {
        const QByteArray block = commandBlock(input);
        const std::uint8_t flags = input.byte();
        const std::uint32_t length =
            std::min<std::uint32_t>((flags & 1) != 0 ? input.byte() % 17U * kBlock : input.word(), kLongest);
        const bool wantsIn = (flags & 2) != 0;
        const int unit = (flags & 4) != 0 && (flags & 8) != 0 ? 1 : 0;
        require(out(wrapper(length, wantsIn, block, unit)).status == usb::Status::Ok);
        if (wantsIn)
            read(length, block, input);
        else
            write(length, block, input);
    }

    struct Status
    {
        std::uint32_t residue = 0;
        int code = 0;
    };

    Status status()
    {
        Result result = in(kPacket);
        if (result.status == usb::Status::Stall) {
            clearHalts();
            result = in(13);
        }
        require(result.status == usb::Status::Ok && result.data.size() == 13 && result.data.startsWith("USBS"));
        require(qFromLittleEndian<quint32>(result.data.data() + 4) == m_tag);
        require(result.data.at(12) >= 0 && result.data.at(12) <= 2);
        return {qFromLittleEndian<quint32>(result.data.data() + 8), result.data.at(12)};
    }

    void read(std::uint32_t length, const QByteArray& block, FuzzBytes& input)
    {
        QByteArray data;
        const std::uint32_t piece = kPacket * (1 + input.byte() % 4U);
        while (std::uint32_t(data.size()) < length) {
            const std::uint32_t wanted = std::min(piece, length - std::uint32_t(data.size()));
            const Result result = in(wanted);
            data += result.data;
            if (result.status == usb::Status::Stall)
                clearHalts();
            if (result.status == usb::Status::Stall || std::uint32_t(result.data.size()) < wanted)
                break;
        }
        const Status told = status();
        require(told.residue == length - std::uint32_t(data.size()));
        const auto blocks = blockCommand(block);
        if (!blocks || told.code != 0)
            return;
        require(!blocks->write || blocks->range.count == 0);
        require(std::uint64_t(data.size()) == blocks->range.count * kBlock);
        for (std::uint64_t number = 0; number < blocks->range.count; ++number)
            require(data.mid(int(number) * kBlock, kBlock) == contentOf(blocks->range.first + number));
    }

    void write(std::uint32_t length, const QByteArray& block, FuzzBytes& input)
    {
        const std::uint8_t how = input.byte();
        const QByteArray promised(int(length), char(input.byte()));
        // Now and then less than was promised, which a short packet ends.
        const QByteArray sent = how % 8 == 0 ? promised.left(int(length) * (how / 8) / 32) : promised;
        const auto blocks = blockCommand(block);
        if (blocks && blocks->write && blocks->range.count <= kLongest / kBlock)
            remember(blocks->range);
        const int piece = kPacket * (1 + how % 4);
        int at = 0;
        while (at < sent.size()) {
            require(out(sent.mid(at, piece)).status == usb::Status::Ok);
            at += piece;
        }
        const bool endsShort = sent.size() % kPacket != 0;
        if (sent.size() < promised.size() && !endsShort)
            require(out({}).status == usb::Status::Ok);
        const Status told = status();
        require(told.residue <= length);
        if (!blocks || !blocks->write || length - told.residue == 0)
            return;
        require(told.code != 2);
        const std::uint64_t moved = length - told.residue;
        require(moved <= blocks->range.count * kBlock && moved <= std::uint64_t(sent.size()));
        require(told.code != 0 || moved == blocks->range.count * kBlock);
        for (std::uint64_t done = 0; done < moved; done += kBlock) {
            QByteArray& content = m_written[blocks->range.first + done / kBlock];
            const int count = int(std::min<std::uint64_t>(kBlock, moved - done));
            content.replace(0, count, sent.mid(int(done), count));
        }
    }

    void invalidWrapper(FuzzBytes& input)
    {
        QByteArray bytes = wrapper(0, false, QByteArray(6, '\0'), 0);
        switch (input.byte() % 3) {
        case 0:
            bytes[input.byte() % 4] = '\0';
            break;
        case 1:
            bytes[14] = char(17 + input.byte() % 15);
            break;
        default:
            bytes = bytes.left(input.byte() % bytes.size());
        }
        require(out(bytes).status == usb::Status::Stall);
        clearHalts();
        require(in(13).status == usb::Status::Stall);
        require(out(wrapper(0, false, QByteArray(6, '\0'), 0)).status == usb::Status::Stall);
        reset();
        clearHalts();
    }

    void resetWithinCommand(FuzzBytes& input)
    {
        const QByteArray block = commandBlock(input);
        if (const auto blocks = blockCommand(block); blocks && blocks->write)
            return; // what would have been written then is open
        out(wrapper(input.word() % kLongest, (input.byte() & 1) != 0, block, 0));
        reset();
        clearHalts();
    }

    /// What blocks hold before they are written for the first time.
    void remember(const storage::BlockRange& range)
    {
        for (std::uint64_t number = range.first; number - range.first < range.count; ++number)
            if (number < medium()->blockCount() && m_before.count(number) == 0) {
                m_before[number] = stored(number);
                m_written[number] = m_before[number];
            }
    }

    static QByteArray stored(std::uint64_t number)
    {
        QByteArray content(kBlock, Qt::Uninitialized);
        require(medium()->read(std::int64_t(number) * kBlock, content.data(), kBlock));
        return content;
    }

    QByteArray contentOf(std::uint64_t number) const
    {
        const auto found = m_written.find(number);
        return found == m_written.end() ? stored(number) : found->second;
    }

    storage::Disk m_disk;
    std::map<std::uint32_t, Result> m_results;
    std::uint32_t m_last = 0;
    std::uint32_t m_tag = 0;
    std::map<std::uint64_t, QByteArray> m_before;
    std::map<std::uint64_t, QByteArray> m_written;
    usb::Device m_device;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int argumentCount = 1;
    static char name[] = "fuzzer";
    static char* arguments[] = {name, nullptr};
    static const QCoreApplication application(argumentCount, arguments);
    FuzzBytes input(data, std::min<std::size_t>(size, 1024));
    Host host;
    while (!input.isEmpty())
        host.act(input);
    return 0;
}
