#include "tools/capture/headless_capture.h"

#include "capture/file/file_job.h"

#include <new>

namespace {

constexpr int kFlushInterval = 200; // ms
const QString kNoMemory = QStringLiteral("There is not enough memory to print a packet.");

QString printPackets(const std::shared_ptr<PacketStore>& store, CapturePrinter& printer)
{
    PacketReader reader(store);
    const std::size_t count = store->size();
    try {
        for (std::size_t number = 0; number < count; ++number)
            printer.take(reader.read(number));
    } catch (const std::bad_alloc&) {
        return kNoMemory;
    }
    return printer.finish();
}

} // namespace

HeadlessCapture::HeadlessCapture(const Options& options, QFileDevice& output)
    : m_options(options)
    , m_printer(options.print, m_client.store(), output)
    , m_whyNotReached(QStringLiteral("there is no capture server of process %1").arg(options.processId))
{
    connectClient();
    connect(&m_flushes, &QTimer::timeout, this, &HeadlessCapture::flush);
    m_flushes.start(kFlushInterval);
    connect(&m_end, &QTimer::timeout, this, &HeadlessCapture::end);
    m_end.start(static_cast<int>(options.seconds * 1000));
    m_client.setServerProcess(options.processId);
    QTimer::singleShot(0, this, [this] {
        const QString error = m_printer.open();
        if (error.isEmpty())
            m_client.connectToServer();
        else
            finish(error);
    });
}

void HeadlessCapture::connectClient()
{
    connect(&m_client, &UsbIPCaptureClient::connected, this, [this] {
        m_whyNotReached.clear();
        m_client.startCapture();
    });
    connect(&m_client, &UsbIPCaptureClient::serverRefused, this, [this] {
        m_whyNotReached = QStringLiteral("another process serves the name of process %1").arg(m_options.processId);
    });
    connect(&m_client, &UsbIPCaptureClient::packetCaptured, this, &HeadlessCapture::printLast);
}

void HeadlessCapture::printLast()
{
    try {
        m_printer.take(m_reader.read(m_client.store()->size() - 1));
    } catch (const std::bad_alloc&) {
        finish(kNoMemory);
    }
}

void HeadlessCapture::stop()
{
    if (m_end.isActive())
        end();
}

void HeadlessCapture::end()
{
    const QString notReached =
        m_whyNotReached.isEmpty() ? QString() : QStringLiteral("No capture was possible: %1.").arg(m_whyNotReached);
    const QString error = m_printer.finish();
    finish(notReached.isEmpty() ? error : notReached);
}

void HeadlessCapture::flush()
{
    const QString error = m_printer.flush();
    if (!error.isEmpty())
        finish(error);
}

void HeadlessCapture::finish(const QString& error)
{
    m_flushes.stop();
    m_end.stop();
    m_client.stopCapture();
    emit finished(error);
}

QString printFile(const QString& path, const PrintOptions& options, QFileDevice& output)
{
    auto store = std::make_shared<PacketStore>();
    JobProgress progress;
    const QString fault = loadingWork(store, path)(progress);
    CapturePrinter printer(options, store, output);
    QString error = printer.open();
    if (!error.isEmpty())
        return error;
    error = printPackets(store, printer);
    return error.isEmpty() ? fault : error;
}
