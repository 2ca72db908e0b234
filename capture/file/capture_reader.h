// capture_reader.h: reads files of captured USB traffic.
#pragma once

#include "capture/channel/packet_store.h"
#include "capture/file/job_progress.h"

#include <QIODevice>

/// Appends the packets of a pcapng or pcap file, with records of Linux or Windows, or of usbmon's text or plain
/// records, to the store, with their one-line decodings. Blocks and link types that it does not know are passed over.
/// Gives what is wrong with the file, for the user: empty when it was read to its end. A file without one packet of USB
/// is a fault too; packets up to a fault are there all the same.
QString readCapture(QIODevice& device, PacketStore& store, JobProgress& progress);
