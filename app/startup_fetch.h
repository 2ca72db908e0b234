// startup_fetch.h: the one request that each program start makes, on a thread of its own.
#pragma once

#include <QString>
#include <QUrl>

#include <memory>

class QThread;

/// GETs a URL over plain HTTP and discards what comes; nothing is shown or logged, whatever the outcome, and nothing
/// waits for it. It has no time-out: a server that never answers keeps the thread until this object goes, which ends
/// the request and so never holds up the program's exit. A body is read up to 1 MiB and never unpacked; redirections
/// and demands for credentials end the request.
class StartupFetch
{
public:
    /// Starts at once, with the priority of the calling thread.
    explicit StartupFetch(const QUrl& url);
    ~StartupFetch();

    bool isRunning() const;

private:
    std::unique_ptr<QThread> m_thread;
};

/// What the program fetches at start from `host`, an IPv4 address with an optional ":PORT".
QUrl startupFetchUrl(const QString& host);
