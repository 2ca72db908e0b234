#include "capture/file/capture_reader.h"

#include "capture/file/pcap_file.h"
#include "capture/file/pcapng_reader.h"
#include "capture/file/usbmon_file.h"

QString readCapture(QIODevice& device, PacketStore& store, JobProgress& progress)
{
    RecordSink sink(store);
    constexpr int kBeginning = 48; // bytes
    const QByteArray beginning = device.peek(kBeginning);
    const QString error = isPcap(beginning)         ? readPcap(device, sink, progress)
                          : isUsbmonText(beginning) ? readUsbmonText(device, sink, progress)
                          : isUsbmonRaw(beginning)  ? readUsbmonRaw(device, sink, progress)
                                                    : PcapngReader(device, sink).read(progress);
    return error.isEmpty() && !progress.isCancelled() ? sink.complaint() : error;
}
