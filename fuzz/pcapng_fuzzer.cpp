// links: plugboard::capture_file
// pcapng_fuzzer.cpp: files of captures; what was read can be written, and reads back as it is.
#include "capture/decode/packet_columns.h"
#include "capture/file/capture_reader.h"
#include "capture/file/capture_writer.h"

#include <QBuffer>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer file(&bytes);
    file.open(QIODevice::ReadOnly);
    PacketStore packets;
    JobProgress progress;
    readCapture(file, packets, progress);

    QBuffer copy;
    copy.open(QIODevice::ReadWrite);
    const auto writer = CaptureWriter::forPath(QStringLiteral("copy.pcapng"), copy);
    for (std::size_t number = 0; number < packets.size(); ++number) {
        if (!writer->add(packets.at(number)))
            std::abort();
    }
    if (!writer->flush())
        std::abort();
    copy.seek(0);
    PacketStore again;
    if (readCapture(copy, again, progress).isEmpty() != (packets.size() > 0) || again.size() != packets.size())
        std::abort();
    for (std::size_t number = 0; number < packets.size(); ++number) {
        if (packets.at(number).usbipHeader != again.at(number).usbipHeader)
            std::abort();
    }
    return 0;
}
