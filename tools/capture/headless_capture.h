// headless_capture.h: a capture that prints one line for each packet.
#pragma once

#include "capture/capture_client.h"

#include <QFileDevice>
#include <QTextStream>
#include <QTimer>

/// Starts capture as soon as the device process is there and stops it after the given time. Lines are written several
/// times a second, so that one who watches sees them come.
class HeadlessCapture : public QObject
{
    Q_OBJECT

public:
    HeadlessCapture(qint64 processId, double seconds, QFileDevice& output);

signals:
    /// `error`: empty when the device process was reached and all lines were written; for people, not translated.
    void finished(QString error);

private:
    void print(const UsbIPPacketInfo& packet);
    void flush();
    void finish(const QString& error);

    UsbIPCaptureClient m_client;
    QFileDevice& m_file;
    QTextStream m_output;
    QTimer m_flushes;
    QTimer m_end;            // runs until the capture is over
    QString m_whyNotReached; ///< empty once it was
};
