// end_request.h: asks a process of a test to end, in the way that the system asks console programs; holds one up.
#pragma once

#include <QProcess>

/// Reaches a process that is started while the object lives. One per program.
class EndRequest
{
public:
    EndRequest();
    ~EndRequest();
    EndRequest(const EndRequest&) = delete;
    EndRequest& operator=(const EndRequest&) = delete;

    /// The process may do what it likes with the request. False when the system did not deliver it.
    bool send(const QProcess& process);
};

/// A process that is held up runs no more until it is let go on. False when the system did not do it.
bool holdUp(const QProcess& process);
bool letGoOn(const QProcess& process);
