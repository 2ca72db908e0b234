// headless_capture.h: a capture without a window.
#pragma once

#include "capture/channel/capture_client.h"
#include "tools/capture/capture_printer.h"

#include <QTimer>

/// Starts capture as soon as the device process is there and stops it after the given time, or when it is told to.
/// Lines are written several times a second, so that one who watches sees them come.
class HeadlessCapture : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        qint64 processId = 0;
        double seconds = 0;
        PrintOptions print;
    };

    HeadlessCapture(const Options& options, QFileDevice& output);

    /// Ends the capture as if its time were over.
    void stop();

signals:
    /// `error`: empty when the device process was reached and everything was written; for people, not translated.
    void finished(QString error);

private:
    void connectClient();
    void printLast();
    void end();
    void flush();
    void finish(const QString& error);

    const Options m_options;
    UsbIPCaptureClient m_client;
    PacketReader m_reader{m_client.store()};
    CapturePrinter m_printer;
    QTimer m_flushes;
    QTimer m_end;            // runs until the capture is over
    QString m_whyNotReached; ///< empty once it was
};

/// Prints the packets of a file; gives why not all of it, if so.
QString printFile(const QString& path, const PrintOptions& options, QFileDevice& output);
