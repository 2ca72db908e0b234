#include "emulation/storage/fat32_volume.h"

#include <QtEndian>

#include <utility>
#include <vector>

namespace storage {

namespace {

constexpr std::uint32_t kBytesPerEntry = 4;
constexpr std::uint32_t kRootCluster = 2;
constexpr std::uint32_t kEndOfChain = 0x0FFFFFFF;
constexpr std::uint8_t kFixedDisk = 0xF8;
constexpr int kCountsSector = 1;
constexpr int kBackupSector = 6; ///< boot sector and counts once more
constexpr int kLabelLength = 11;

template<typename Integer>
void put(QByteArray& sector, int offset, Integer value)
{
    qToLittleEndian(value, sector.data() + offset);
}

QByteArray emptySector(bool signature)
{
    QByteArray sector(kBlockSize, '\0');
    if (signature)
        sector.replace(510, 2, QByteArray::fromHex("55aa"));
    return sector;
}

QByteArray paddedLabel(const Fat32Identity& identity)
{
    return identity.label.leftJustified(kLabelLength, ' ', true);
}

QByteArray bootSector(const Fat32Layout& layout, const Fat32Identity& identity)
{
    QByteArray sector = emptySector(true);
    sector.replace(0, 11, QByteArray::fromHex("eb5890") + "PLUGBRD ");
    put<std::uint16_t>(sector, 11, kBlockSize);
    put<std::uint8_t>(sector, 13, std::uint8_t(layout.sectorsPerCluster));
    put<std::uint16_t>(sector, 14, Fat32Layout::kReservedSectors);
    put<std::uint8_t>(sector, 16, 2); // tables
    put<std::uint8_t>(sector, 21, kFixedDisk);
    put<std::uint16_t>(sector, 24, 63);  // sectors of a track
    put<std::uint16_t>(sector, 26, 255); // heads
    put<std::uint32_t>(sector, 32, layout.sectors);
    put<std::uint32_t>(sector, 36, layout.tableSectors);
    put<std::uint32_t>(sector, 44, kRootCluster);
    put<std::uint16_t>(sector, 48, kCountsSector);
    put<std::uint16_t>(sector, 50, kBackupSector);
    put<std::uint8_t>(sector, 64, 0x80); // drive number
    put<std::uint8_t>(sector, 66, 0x29); // the next three are there
    put<std::uint32_t>(sector, 67, identity.volumeId);
    sector.replace(71, kLabelLength, paddedLabel(identity));
    sector.replace(82, 8, "FAT32   ");
    // Nothing to boot: the next device's turn (int 18h), then stop.
    sector.replace(90, 5, QByteArray::fromHex("cd18f4ebfd"));
    return sector;
}

QByteArray countsSector(const Fat32Layout& layout)
{
    QByteArray sector = emptySector(true);
    sector.replace(0, 4, "RRaA");
    sector.replace(484, 4, "rrAa");
    put<std::uint32_t>(sector, 488, layout.clusters - 1); // free: all but the root directory's
    put<std::uint32_t>(sector, 492, kRootCluster + 1);    // the first free one
    return sector;
}

QByteArray firstTableSector()
{
    QByteArray sector = emptySector(false);
    put<std::uint32_t>(sector, 0, 0x0FFFFF00 | kFixedDisk);
    put<std::uint32_t>(sector, 4, kEndOfChain); // unmounted cleanly, no errors
    put<std::uint32_t>(sector, 8, kEndOfChain);
    return sector;
}

/// The label alone.
QByteArray rootDirectory(const Fat32Identity& identity)
{
    const QDate date = identity.made.date();
    const QTime time = identity.made.time();
    QByteArray sector = emptySector(false);
    sector.replace(0, kLabelLength, paddedLabel(identity));
    put<std::uint8_t>(sector, 11, 0x08); // a label
    put<std::uint16_t>(sector, 22, std::uint16_t(time.hour() << 11 | time.minute() << 5 | time.second() / 2));
    put<std::uint16_t>(sector, 24, std::uint16_t((date.year() - 1980) << 9 | date.month() << 5 | date.day()));
    return sector;
}

/// Sectors of a cluster, by the size of the volume; halved where that leaves too few.
std::uint32_t usualSectorsPerCluster(int mebibytes)
{
    constexpr std::pair<int, std::uint32_t> kUpTo[] = {{64, 1},   {128, 2},    {256, 4},
                                                       {8192, 8}, {16384, 16}, {32768, 32}};
    for (const auto& [size, sectors] : kUpTo)
        if (mebibytes <= size)
            return sectors;
    return 64;
}

Fat32Layout layoutWith(std::uint32_t sectors, std::uint32_t sectorsPerCluster)
{
    constexpr std::uint32_t kEntriesPerSector = kBlockSize / kBytesPerEntry;
    constexpr std::uint32_t kAlignment = 4; // of one of two tables, so that data start at 4 KiB
    Fat32Layout layout{sectors, sectorsPerCluster, 0, 0};
    const std::uint32_t entries = (sectors - Fat32Layout::kReservedSectors) / sectorsPerCluster + kRootCluster;
    const std::uint32_t needed = (entries + kEntriesPerSector - 1) / kEntriesPerSector;
    layout.tableSectors = (needed + kAlignment - 1) / kAlignment * kAlignment;
    layout.clusters = (sectors - layout.firstDataSector()) / sectorsPerCluster;
    return layout;
}

Fat32Layout bestLayout(int mebibytes)
{
    const std::uint32_t sectors = std::uint32_t(mebibytes) * ((1 << 20) / kBlockSize);
    std::uint32_t sectorsPerCluster = usualSectorsPerCluster(mebibytes);
    while (sectorsPerCluster > 1 && layoutWith(sectors, sectorsPerCluster).clusters < Fat32Layout::kFewestClusters)
        sectorsPerCluster /= 2;
    return layoutWith(sectors, sectorsPerCluster);
}

int smallestSize()
{
    int mebibytes = 1;
    while (bestLayout(mebibytes).clusters < Fat32Layout::kFewestClusters)
        ++mebibytes;
    return mebibytes;
}

} // namespace

Outcome<Fat32Layout> Fat32Layout::ofSize(int mebibytes)
{
    constexpr int kLargest = 1 << 20; // 2^31 sectors
    const Fat32Layout layout = mebibytes > 0 && mebibytes <= kLargest ? bestLayout(mebibytes) : Fat32Layout();
    if (layout.clusters < kFewestClusters)
        return Fault{QStringLiteral("FAT32 needs a disk of %1 to %2 MiB, not %3.")
                         .arg(smallestSize())
                         .arg(kLargest)
                         .arg(mebibytes)};
    return layout;
}

bool writeFat32(ImageFile& file, const Fat32Layout& layout, const Fat32Identity& identity)
{
    const QByteArray boot = bootSector(layout, identity);
    const QByteArray counts = countsSector(layout);
    const std::pair<std::uint32_t, QByteArray> sectors[] = {
        {0, boot},
        {kCountsSector, counts},
        {kBackupSector, boot},
        {kBackupSector + kCountsSector, counts},
        {Fat32Layout::kReservedSectors, firstTableSector()},
        {Fat32Layout::kReservedSectors + layout.tableSectors, firstTableSector()},
        {layout.firstDataSector(), rootDirectory(identity)},
    };
    for (const auto& [number, bytes] : sectors)
        if (!file.write(std::int64_t(number) * kBlockSize, bytes.constData(), bytes.size()))
            return false;
    return true;
}

} // namespace storage
