// operation_session.h: a connection to our server before a device is imported over it.
#pragma once

#include "emulation/link/stream_socket.h"
#include "emulation/link/usbip_codec.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>
#include <memory>

/// Reads one request, at most 40 bytes, and answers it: a device list, after which the connection is closed, or an
/// import. It has five seconds for that.
class OperationSession : public QObject
{
    Q_OBJECT

public:
    struct Server
    {
        /// The devices that can be imported now.
        std::function<std::vector<usbip::DeviceSummary>()> devices;
        /// Whether the device of that bus id is there but in use.
        std::function<bool(const QString& busId)> isBusy;
        /// A device was imported, and the client has been told so. Takes the socket.
        std::function<void(StreamSocket)> imported;
        /// The session is at its end, with a reason that is empty when nothing was wrong. Deletes it later.
        std::function<void(const QString& reason)> ended;
    };

    OperationSession(StreamSocket socket, QObject* parent);

    /// To be called once.
    void serve(Server server);

private:
    void readable();
    void end(const QString& reason);
    void stopReading();
    bool send(const QByteArray& bytes);
    void answerList();
    void answerImport(const QString& busId);

    StreamSocket m_socket;
    Server m_server;
    std::unique_ptr<QSocketNotifier> m_reads;
    QTimer m_timeout;
    QByteArray m_request;
};
