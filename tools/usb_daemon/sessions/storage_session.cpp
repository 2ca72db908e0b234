#include "tools/usb_daemon/sessions/fat_volume.h"
#include "tools/usb_daemon/sessions/sessions.h"

#include <QtEndian>

namespace {

constexpr std::uint8_t kBulk = 2;
constexpr std::uint8_t kInEndpoint = 1;
constexpr std::uint8_t kOutEndpoint = 2;

class StorageSession final : public DeviceSession
{
public:
    using DeviceSession::DeviceSession;

private:
    void setUp() override
    {
        urbs().control(QByteArray::fromHex("a1fe000000000100"), QByteArray(1, '\0'));
        command(QByteArray::fromHex("120000002400"),
                QByteArray::fromHex("000206021f000000") + "Plugboar" + "USB Storage     " + "0100");
        command(QByteArray::fromHex("000000000000"), {});
        QByteArray capacity(8, '\0');
        qToBigEndian(FatVolume::kSectors - 1, capacity.data());
        qToBigEndian<std::uint32_t>(512, capacity.data() + 4);
        command(QByteArray::fromHex("25000000000000000000"), capacity);
        command(QByteArray::fromHex("1a003f00c000"), QByteArray::fromHex("03000000"));
    }

    void use(std::uint32_t round) override
    {
        static constexpr std::uint32_t kStarts[] = {0, 1, FatVolume::kReserved, FatVolume::kRootSector,
                                                    FatVolume::kFileSector};
        const std::uint32_t start = kStarts[round % 5];
        const std::uint16_t count = start == FatVolume::kReserved ? 8 : 1;
        QByteArray block = QByteArray::fromHex("28000000000000000000");
        qToBigEndian(start, block.data() + 2);
        qToBigEndian(count, block.data() + 7);
        QByteArray sectors;
        for (std::uint32_t sector = start; sector < start + count; ++sector)
            sectors += FatVolume::sector(sector);
        command(block, sectors);
        if (round % 5 == 4)
            command(QByteArray::fromHex("000000000000"), {});
    }

    /// Command, data and status stage of a command that reads.
    void command(const QByteArray& block, const QByteArray& data)
    {
        ++m_tag;
        QByteArray wrapper = "USBC" + QByteArray(27, '\0');
        qToLittleEndian(m_tag, wrapper.data() + 4);
        qToLittleEndian(static_cast<std::uint32_t>(data.size()), wrapper.data() + 8);
        wrapper[12] = data.isEmpty() ? '\0' : '\x80';
        wrapper[14] = static_cast<char>(block.size());
        wrapper.replace(15, block.size(), block);
        urbs().out(kBulk, kOutEndpoint, wrapper);
        if (!data.isEmpty())
            urbs().in(kBulk, kInEndpoint, static_cast<std::uint32_t>(data.size()), data);
        QByteArray status = "USBS" + QByteArray(9, '\0');
        qToLittleEndian(m_tag, status.data() + 4);
        urbs().in(kBulk, kInEndpoint, 13, status);
    }

    std::uint32_t m_tag = 0;
};

} // namespace

std::unique_ptr<DeviceSession> makeStorageSession(std::uint32_t deviceId)
{
    const DeviceIdentity identity{
        QByteArray::fromHex("12010002000000406b1d0500000101020301"),
        QByteArray::fromHex("0902200001010080fa 090400000208065000 07058102000200 07050202000200"),
        {QStringLiteral("Plugboard"), QStringLiteral("USB Storage Device"), QStringLiteral("000000000001")}};
    return std::make_unique<StorageSession>(identity, deviceId);
}
