// links: plugboard::capture
// pcapng_fuzzer.cpp: files of captures; what was read can be written, and reads back as it is.
#include "capture/packet_columns.h"
#include "capture/pcapng_file.h"

#include <QBuffer>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer file(&bytes);
    file.open(QIODevice::ReadOnly);
    const PcapngFile::PacketList packets = PcapngFile::read(file).packets;

    QBuffer copy;
    copy.open(QIODevice::ReadWrite);
    if (!PcapngFile::write(copy, packets))
        std::abort();
    copy.seek(0);
    const PcapngFile::ReadResult again = PcapngFile::read(copy);
    if (!again.error.isEmpty() || again.packets.size() != packets.size())
        std::abort();
    for (std::size_t number = 0; number < packets.size(); ++number) {
        if (packets[number].usbipHeader != again.packets[number].usbipHeader)
            std::abort();
    }
    return 0;
}
