// pcapng_writer.h: captures as pcapng files.
#pragma once

#include "capture/file/capture_writer.h"
#include "capture/file/transfers.h"

#include <vector>

/// One section that names the program, with an interface of link type 220 for each device. Before each packet stands a
/// block for local use that keeps what the record of Linux has no place for, most of all the USB/IP header.
class PcapngWriter final : public CaptureWriter
{
public:
    explicit PcapngWriter(QIODevice& device);

protected:
    void encode(const UsbIPPacketInfo& packet, QByteArray& bytes) override;

private:
    std::uint32_t interfaceOf(std::uint32_t deviceId, QByteArray& bytes);

    Transfers m_transfers;
    std::vector<std::uint32_t> m_devices; // by interface
};
