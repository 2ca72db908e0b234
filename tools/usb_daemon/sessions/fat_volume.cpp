#include "tools/usb_daemon/sessions/fat_volume.h"

#include <QtEndian>

namespace {

constexpr int kSectorSize = 512;
constexpr char kFileText[] = "This volume is simulated.\r\n";

template<typename Integer>
void put(QByteArray& sector, int offset, Integer value)
{
    qToLittleEndian(value, sector.data() + offset);
}

QByteArray bootSector()
{
    QByteArray sector(kSectorSize, '\0');
    sector.replace(0, 11, QByteArray::fromHex("eb5890") + "PLUGBRD ");
    put<std::uint16_t>(sector, 11, kSectorSize);
    sector[13] = 1; // sectors of a cluster
    put<std::uint16_t>(sector, 14, FatVolume::kReserved);
    sector[16] = 2; // tables
    sector[21] = '\xF8';
    put<std::uint32_t>(sector, 32, FatVolume::kSectors);
    put<std::uint32_t>(sector, 36, FatVolume::kTableSectors);
    put<std::uint32_t>(sector, 44, 2); // cluster of the root directory
    put<std::uint16_t>(sector, 48, 1); // sector with counts of free clusters
    sector[66] = 0x29;
    sector.replace(71, 19, "PLUGBOARD  FAT32   ");
    sector.replace(510, 2, QByteArray::fromHex("55aa"));
    return sector;
}

QByteArray countsSector()
{
    QByteArray sector(kSectorSize, '\0');
    sector.replace(0, 4, "RRaA");
    sector.replace(484, 4, "rrAa");
    put<std::uint32_t>(sector, 488, 0xFFFFFFFF);
    put<std::uint32_t>(sector, 492, 4);
    sector.replace(510, 2, QByteArray::fromHex("55aa"));
    return sector;
}

QByteArray firstTableSector()
{
    QByteArray sector(kSectorSize, '\0');
    int offset = 0;
    for (const std::uint32_t entry : {0x0FFFFFF8U, 0x0FFFFFFFU, 0x0FFFFFFFU, 0x0FFFFFFFU}) {
        put(sector, offset, entry);
        offset += 4;
    }
    return sector;
}

QByteArray rootDirectory()
{
    QByteArray sector(kSectorSize, '\0');
    sector.replace(0, 11, "README  TXT");
    sector[11] = 0x20;
    put<std::uint16_t>(sector, 26, 3);
    put<std::uint32_t>(sector, 28, sizeof kFileText - 1);
    return sector;
}

} // namespace

QByteArray FatVolume::sector(std::uint32_t number)
{
    switch (number) {
    case 0:
        return bootSector();
    case 1:
        return countsSector();
    case kReserved:
    case kReserved + kTableSectors:
        return firstTableSector();
    case kRootSector:
        return rootDirectory();
    case kFileSector:
        return QByteArray(kFileText).leftJustified(kSectorSize, '\0');
    default:
        return QByteArray(kSectorSize, '\0');
    }
}
