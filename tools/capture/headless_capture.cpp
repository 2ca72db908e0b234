#include "tools/capture/headless_capture.h"

#include "capture/packet_columns.h"

#include <QTimer>

HeadlessCapture::HeadlessCapture(qint64 processId, double seconds, QIODevice& output) : m_output(&output)
{
    connect(&m_client, &UsbIPCaptureClient::connected, this, [this] {
        m_reached = true;
        m_client.startCapture();
    });
    connect(&m_client, &UsbIPCaptureClient::packetCaptured, this,
            [this](uint32_t, const UsbIPPacketInfo& packet) { print(packet); });
    QTimer::singleShot(static_cast<int>(seconds * 1000), this, &HeadlessCapture::finish);
    m_client.setServerName(UsbIPCaptureClient::serverNameOf(processId));
    QTimer::singleShot(0, this, [this] { m_client.connectToServer(); });
}

void HeadlessCapture::print(const UsbIPPacketInfo& packet)
{
    for (int column = TimeColumn; column < SetupColumn; ++column)
        m_output << packetColumnText(packet, column) << ' ';
    m_output << packet.parsedDetails << '\n';
}

void HeadlessCapture::finish()
{
    m_client.stopCapture();
    m_output.flush();
    emit finished(m_reached ? 0 : 1);
}
