#include "tools/capture/headless_capture.h"

#include "capture/packet_columns.h"

namespace {

constexpr int kFlushInterval = 200; // ms

} // namespace

HeadlessCapture::HeadlessCapture(qint64 processId, double seconds, QFileDevice& output)
    : m_file(output)
    , m_output(&output)
    , m_whyNotReached(QStringLiteral("No answer"))
{
    connect(&m_client, &UsbIPCaptureClient::connected, this, [this] {
        m_whyNotReached.clear();
        m_client.startCapture();
    });
    connect(&m_client, &UsbIPCaptureClient::connectionError, this, [this](const QString& error) {
        if (!m_whyNotReached.isEmpty())
            m_whyNotReached = error;
    });
    connect(&m_client, &UsbIPCaptureClient::packetCaptured, this,
            [this](uint32_t, const UsbIPPacketInfo& packet) { print(packet); });
    connect(&m_flushes, &QTimer::timeout, this, &HeadlessCapture::flush);
    m_flushes.start(kFlushInterval);
    connect(&m_end, &QTimer::timeout, this, [this] {
        flush();
        if (m_end.isActive())
            finish(m_whyNotReached.isEmpty() ? QString()
                                             : QStringLiteral("No capture was possible: %1.").arg(m_whyNotReached));
    });
    m_end.start(static_cast<int>(seconds * 1000));
    m_client.setServerName(UsbIPCaptureClient::serverNameOf(processId));
    QTimer::singleShot(0, this, [this] { m_client.connectToServer(); });
}

void HeadlessCapture::print(const UsbIPPacketInfo& packet)
{
    for (int column = TimeColumn; column < SetupColumn; ++column)
        m_output << packetColumnText(packet, column) << ' ';
    m_output << packet.parsedDetails << '\n';
}

void HeadlessCapture::flush()
{
    m_output.flush();
    if (!m_file.flush() || m_output.status() != QTextStream::Ok)
        finish(QStringLiteral("The lines cannot be written: %1.").arg(m_file.errorString()));
}

void HeadlessCapture::finish(const QString& error)
{
    m_flushes.stop();
    m_end.stop();
    m_client.stopCapture();
    emit finished(error);
}
