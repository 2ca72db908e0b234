// headless_capture.h: a capture that prints one line for each packet.
#pragma once

#include "capture/capture_client.h"

#include <QTextStream>

/// Starts capture as soon as the device process is there and stops it after the given time.
class HeadlessCapture : public QObject
{
    Q_OBJECT

public:
    HeadlessCapture(qint64 processId, double seconds, QIODevice& output);

signals:
    /// `code`: 0 when the device process was reached, else 1.
    void finished(int code);

private:
    void print(const UsbIPPacketInfo& packet);
    void finish();

    UsbIPCaptureClient m_client;
    QTextStream m_output;
    bool m_reached = false;
};
