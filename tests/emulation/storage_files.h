// storage_files.h: files of numbered blocks, and the disk that reads them.
#pragma once

#include "emulation/storage/medium.h"
#include "emulation/usb/descriptors.h"

#include <QFile>

/// Blocks of 512 bytes, each filled with its number modulo 256.
inline QByteArray numbered(int blocks)
{
    QByteArray content;
    content.reserve(blocks * 512);
    for (int number = 0; number < blocks; ++number)
        content += QByteArray(512, char(number));
    return content;
}

/// The blocks, and `rest` bytes more.
inline void numberedFile(const QString& path, int blocks, int rest)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(numbered(blocks) + QByteArray(rest, char(blocks)));
}

inline storage::Medium::Pointer numberedMedium(const QString& path, int blocks)
{
    numberedFile(path, blocks, 0);
    const auto medium = storage::Medium::fromFile(path);
    Q_ASSERT(medium);
    return medium.value();
}

inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

inline usb::DeviceDescriptors diskIdentity(std::uint16_t version = 0x0200)
{
    usb::DeviceDescriptors identity;
    identity.bcdUSB = version;
    identity.idVendor = 0x1D6B;
    identity.idProduct = 2;
    identity.manufacturer = QStringLiteral("Plugboard");
    identity.product = QStringLiteral("Disk");
    identity.serialNumber = QStringLiteral("0123456789AB");
    return identity;
}
