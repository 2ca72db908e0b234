// stop_request.h: how the system asks a program without a window to end, and what it must not die of.
#pragma once

#include <QObject>

/// While it lives, stopRequested() is emitted from the event loop when the process is asked to end: SIGTERM, SIGINT or
/// SIGHUP, on Windows Ctrl+C, Ctrl+Break, a closed console, the end of the session. One per process, made on the main
/// thread before any other thread. A reader of the output that goes away no longer ends the process.
class StopRequest : public QObject
{
    Q_OBJECT

public:
    StopRequest();
    ~StopRequest() override;

signals:
    /// On the main thread.
    void stopRequested();
};
