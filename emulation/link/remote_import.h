// remote_import.h: a device of another machine's server, from the first connection to its import.
#pragma once

#include "emulation/link/stream_socket.h"
#include "emulation/link/usbip_codec.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>
#include <memory>

/// Where a device is to be had.
struct RemoteAddress
{
    QHostAddress server; ///< IPv4
    quint16 port = 3240;
    QString busId;
};

/// Asks the server for its list, and then for the device, over a connection each; ten seconds for all of it. A device
/// that another device process of this machine offers is refused before it is imported.
class RemoteImport : public QObject
{
    Q_OBJECT

public:
    struct Events
    {
        /// The device is ours; messages follow on the socket.
        std::function<void(StreamSocket, const usbip::DeviceSummary&)> imported;
        std::function<void(const QString& reason)> failed;
    };

    /// One of the two is called, once, from the event loop; it may delete this object later, and not at once.
    RemoteImport(const RemoteAddress& address, Events events);

private:
    void connectToServer();
    void connected();
    void readable();
    void takeList();
    void takeImport();
    void fail(const QString& reason);
    void stop();

    RemoteAddress m_address;
    Events m_events;
    StreamSocket m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_timeout;
    bool m_isListed = false; // the list was read; the import is next
    QByteArray m_answer;
};
