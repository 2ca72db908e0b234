// fat32_volume.h: an empty FAT32 volume over a whole disk, after the FAT32 File System description of Microsoft, 1.03.
#pragma once

#include "emulation/storage/image_file.h"

#include <QByteArray>
#include <QDateTime>

#include <cstdint>

namespace storage {

constexpr int kBlockSize = 512; ///< bytes of a sector and of a block of the disk

/// Where the parts of a volume lie, in sectors.
struct Fat32Layout
{
    /// Boot sector, counts and their copies; what follows starts at a multiple of 4 KiB.
    static constexpr std::uint32_t kReservedSectors = 32;
    /// With fewer a volume is taken for FAT16.
    static constexpr std::uint32_t kFewestClusters = 65525;

    std::uint32_t sectors = 0;
    std::uint32_t sectorsPerCluster = 1;
    std::uint32_t tableSectors = 0; ///< of each of the two tables
    std::uint32_t clusters = 0;

    std::uint32_t firstDataSector() const { return kReservedSectors + 2 * tableSectors; }

    /// With the cluster size that is usual for a volume of that size. A fault names the smallest size that works.
    static Outcome<Fat32Layout> ofSize(int mebibytes);
};

struct Fat32Identity
{
    QByteArray label = QByteArrayLiteral("PLUGBOARD"); ///< at most 11 capitals and digits
    std::uint32_t volumeId = 0;
    QDateTime made; ///< local time
};

/// Writes the volume into a file of zeros. False when it cannot be written.
bool writeFat32(ImageFile& file, const Fat32Layout& layout, const Fat32Identity& identity);

} // namespace storage
