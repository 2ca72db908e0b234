// pcapng_file.h: captures as pcapng files (draft-ietf-opsawg-pcapng) that packet analysers open.
#pragma once

#include "capture/capture_types.h"

#include <QIODevice>

#include <deque>

/// Writes packets one after another.
class PcapngWriter
{
public:
    explicit PcapngWriter(QIODevice& device);

    /// Both are false when the device refuses bytes; its errorString() says why. The file is whole after flush().
    bool add(const UsbIPPacketInfo& packet);
    bool flush();

private:
    QIODevice& m_device;
    QByteArray m_bytes;
};

/// One section with one interface of link type 220. Before each packet stands a block for local use that keeps what the
/// record of Linux has no place for, most of all the USB/IP header; readers that do not know it skip it.
class PcapngFile
{
public:
    using PacketList = std::deque<UsbIPPacketInfo>;

    /// False when the device refuses bytes; its errorString() says why.
    static bool write(QIODevice& device, const PacketList& packets);

    struct ReadResult
    {
        PacketList packets; ///< with one-line decodings
        QString error;      ///< empty when the whole file was read; packets up to the fault are there all the same
    };

    /// Skips blocks and link types that it does not know. Sections in big-endian order are refused.
    static ReadResult read(QIODevice& device);
};
