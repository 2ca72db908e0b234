#include "capture/file/capture_reader.h"

#include "capture/file/pcap_file.h"
#include "capture/file/pcapng_reader.h"

QString readCapture(QIODevice& device, PacketStore& store, JobProgress& progress)
{
    RecordSink sink(store);
    const QString error =
        isPcap(device.peek(4)) ? readPcap(device, sink, progress) : PcapngReader(device, sink).read(progress);
    return error.isEmpty() && !progress.isCancelled() ? sink.whyEmpty() : error;
}
