// fat_volume.h: the sectors of a small FAT32 volume, made when they are read.
#pragma once

#include <QByteArray>

#include <cstdint>

/// 34 MiB, sectors of 512 bytes, one per cluster (FAT32 needs that many clusters), with one file README.TXT.
class FatVolume
{
public:
    static constexpr std::uint32_t kSectors = 69632;
    static constexpr std::uint32_t kReserved = 32;
    static constexpr std::uint32_t kTableSectors = 544;
    static constexpr std::uint32_t kRootSector = kReserved + 2 * kTableSectors;
    static constexpr std::uint32_t kFileSector = kRootSector + 1;

    static QByteArray sector(std::uint32_t number);
};
