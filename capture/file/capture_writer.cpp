#include "capture/file/capture_writer.h"

#include "capture/file/pcap_file.h"
#include "capture/file/pcapng_writer.h"
#include "capture/file/usbmon_file.h"

std::unique_ptr<CaptureWriter> CaptureWriter::forPath(const QString& path, QIODevice& device)
{
    if (path.endsWith(QLatin1String(".pcap"), Qt::CaseInsensitive))
        return std::make_unique<PcapWriter>(device, UrbPaddedLink);
    if (path.endsWith(QLatin1String(".usbpcap"), Qt::CaseInsensitive))
        return std::make_unique<PcapWriter>(device, WindowsUrbLink);
    if (path.endsWith(QLatin1String(".txt"), Qt::CaseInsensitive))
        return std::make_unique<UsbmonTextWriter>(device);
    if (path.endsWith(QLatin1String(".mon"), Qt::CaseInsensitive))
        return std::make_unique<UsbmonRawWriter>(device);
    return std::make_unique<PcapngWriter>(device);
}

bool CaptureWriter::add(const UsbIPPacketInfo& packet)
{
    constexpr int kChunk = 256 * 1024; // bytes
    encode(packet, m_bytes);
    return m_bytes.size() < kChunk || flush();
}

bool CaptureWriter::flush()
{
    // A disk that is nearly full takes a part first and says why only when it is asked for the rest.
    const char* rest = m_bytes.constData();
    qint64 left = m_bytes.size();
    while (left > 0) {
        const qint64 taken = m_device.write(rest, left);
        if (taken <= 0)
            break;
        rest += taken;
        left -= taken;
    }
    m_bytes.clear();
    return left == 0;
}
