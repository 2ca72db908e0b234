// links: plugboard::capture_file plugboard::emulation_channels
// capture_decode_benchmark.cpp: bytes of the capture channel to decoded, stored packets, against a packet analyser that
// decodes fields of the same packets from a file.
#include "benchmarks/report.h"
#include "capture/channel/capture_client.h"
#include "capture/file/file_job.h"
#include "tests/support/sample_traffic.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <vector>

namespace {

constexpr int kPackets = 200'000;
constexpr int kRounds = 3;
constexpr int kRead = 64 * 1024; // bytes of a read from the socket

/// Traffic of all kinds of device, a slice of each at a time.
QByteArray traffic()
{
    std::vector<tests::SampleTraffic> devices;
    std::uint32_t id = 0x10001;
    for (const QString& kind : tests::SampleTraffic::kinds())
        devices.emplace_back(kind, id++);
    QByteArray frames;
    for (std::size_t packet = 0; packet < kPackets; ++packet)
        frames += devices[packet / 100 % devices.size()].nextFrame(1700000000000);
    return frames;
}

/// Seconds of processor time that this process has used, or those children of it that have ended.
double processorSeconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// Packets/s of the client, from the bytes of its reads to its lists.
double ourRate(const std::vector<QByteArray>& reads, std::vector<double>& processor)
{
    UsbIPCaptureClient client;
    const double before = processorSeconds(RUSAGE_SELF);
    const double milliseconds = millisecondsOf([&] {
        for (const QByteArray& read : reads)
            client.receive(read);
    });
    processor.push_back(kPackets / (processorSeconds(RUSAGE_SELF) - before));
    return kPackets / (milliseconds / 1000);
}

void writeCapture(const QString& path, const QByteArray& frames)
{
    UsbIPCaptureClient client;
    client.receive(frames);
    JobProgress progress;
    if (!savingWork(client.store(), 0, path)(progress).isEmpty())
        qFatal("the capture cannot be written");
}

double analyserMilliseconds(const QString& path)
{
    QStringList arguments{QStringLiteral("-n"), QStringLiteral("-r"), path, QStringLiteral("-T"),
                          QStringLiteral("fields")};
    for (const char* field : {"usb.urb_id", "usb.urb_type", "usb.transfer_type", "usb.endpoint_address", "usb.urb_len",
                              "usb.urb_status", "usb.bmRequestType", "usb.setup.bRequest"})
        arguments << QStringLiteral("-e") << QLatin1String(field);
    return millisecondsOf([&] {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(QStringLiteral("tshark"), arguments);
        process.waitForFinished(-1);
    });
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString full = folder.filePath(QStringLiteral("full.pcapng"));
    const QString empty = folder.filePath(QStringLiteral("empty.pcapng"));
    const QByteArray frames = traffic();
    writeCapture(full, frames);
    writeCapture(empty, {});
    std::vector<QByteArray> reads;
    for (int begin = 0; begin < frames.size(); begin += kRead)
        reads.push_back(frames.mid(begin, kRead));

    // What the analyser takes to start is not held against it.
    std::vector<double> ours;
    std::vector<double> theirs;
    const auto analyserRate = [&] {
        const double start = processorSeconds(RUSAGE_CHILDREN);
        const double milliseconds = analyserMilliseconds(empty);
        const double begin = processorSeconds(RUSAGE_CHILDREN);
        const double rate = kPackets / ((analyserMilliseconds(full) - milliseconds) / 1000);
        theirs.push_back(kPackets / (processorSeconds(RUSAGE_CHILDREN) - begin - (begin - start)));
        return rate;
    };
    const PairOfMedians rates = measureInTurn(
        kRounds, [&] { return ourRate(reads, ours); }, analyserRate);
    report("capture_decode", "packets/s", rates.ours, "tshark -T fields, its start left out", rates.peer,
           "40 times its packets per second");
    // The same of processor time, for machines that do other things too.
    report("capture_decode_processor", "packets/s", median(ours), "tshark -T fields, its start left out",
           median(theirs), "40 times its packets per second");
    return 0;
}
