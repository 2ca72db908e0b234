// pcap_file.h: captures as plain pcap files (draft-ietf-opsawg-pcap).
#pragma once

#include "capture/file/capture_writer.h"
#include "capture/file/job_progress.h"
#include "capture/file/record_sink.h"
#include "capture/file/transfers.h"

/// Records of Linux or of Windows. The form keeps no USB/IP headers, and nothing of unlinks but how they end transfers.
class PcapWriter final : public CaptureWriter
{
public:
    /// `linkType`: UrbPaddedLink or WindowsUrbLink.
    PcapWriter(QIODevice& device, LinkType linkType);

protected:
    void encode(const UsbIPPacketInfo& packet, QByteArray& bytes) override;

private:
    const LinkType m_linkType;
    Transfers m_transfers;
};

/// Whether a file that begins with these bytes is one.
bool isPcap(const QByteArray& beginning);

/// Hands the packets of a file, of either byte order and resolution of time, to the sink. Empty when it was read to its
/// end or cancelled, or why not, for the user.
QString readPcap(QIODevice& device, RecordSink& sink, JobProgress& progress);
