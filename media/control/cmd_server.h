// cmd_server.h: a text command server on a local socket for one client of the same user at a time.
#pragma once

#include "media/control/line_splitter.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <QPointer>
#include <QRecursiveMutex>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>

class CmdServer;

/// The way to a server for whoever may outlive it; null once it is gone. Hold the lock while using it.
struct CmdServerLink
{
    std::mutex lock;
    CmdServer* server = nullptr;
};

/// Lives on the application's main thread and serves its client there. Every public operation may be called from any
/// thread. Requests are lines of UTF-8; each gets one reply line that ends with CR LF.
class CmdServer : public QObject
{
    Q_OBJECT

public:
    /// Fills `reply` for a command line. Runs on the main thread with the server's lock held; it may call the server.
    using CommandHandler = std::function<void(const QString& command, QString& reply)>;

    explicit CmdServer(QObject* parent = nullptr);
    /// Stops; ServerStatusChanged(false) is emitted at the latest now.
    ~CmdServer() override;

    /// Listens under `name`; true when it does, or when it already did. Off the main thread, true means that the main
    /// thread has been asked to. False when the name is in use, in this program or another one of the user, and
    /// without an application object. A name that a crashed program left behind is taken over. A name is no path, and
    /// nothing but such a left socket is ever removed.
    bool StartServer(const QString& name);

    /// Disconnects the client, stops listening and frees the name. On the server's own thread only.
    void StopServer();

    /// Stops for good from any thread: drops the handler (once this returns it is not running and will not be called),
    /// frees the name as soon as the main thread can, or another server wants it, and deletes the object.
    void Retire();

    bool IsRunning() const;

    void SetCommandHandler(CommandHandler handler);
    void SetEchoEnabled(bool enabled);
    bool IsEchoEnabled() const;

    /// Moves the object to `thread` unless it is there; only from the thread it is on.
    void MoveToThread(QThread* thread);

    /// The thread that created the object.
    QThread* OwnerThread() const { return m_ownerThread; }

    std::shared_ptr<CmdServerLink> Link() const { return m_link; }

    /// Whether the caller is on the application's main thread; false without an application object.
    static bool IsMainThread();

signals:
    void ClientConnected();
    void ClientDisconnected();
    void CommandReceived(QString command);
    void ServerStatusChanged(bool running);
    void StartServerRequested(QString serverName);

public slots:
    void HandleNewConnection();
    void HandleCommandData();
    void HandleClientDisconnected();
    void StartServerInMainThread(QString serverName);

private:
    bool listen(const QString& name);
    void giveUpName();
    void refuse(QLocalSocket& socket);
    void send(QLocalSocket& socket, const QByteArray& bytes);
    void sendReply(QLocalSocket& socket, const QString& text);
    void receive(const QByteArray& bytes);
    void refuseLongLine();
    void answer(const QString& line);
    void finishRetirement();

    QLocalServer* m_server = nullptr;
    QPointer<QLocalSocket> m_client;
    QString m_name;
    CommandHandler m_handler;
    mutable QRecursiveMutex m_lock; ///< Guards every member; the echo command comes back in through its handler.
    QThread* const m_ownerThread;
    LineSplitter m_received;
    bool m_echo = true;
    bool m_reportedUnread = false;
    bool m_reportedLongLine = false;
    bool m_retired = false;
    bool m_stopSignalled = false;
    const std::shared_ptr<CmdServerLink> m_link = std::make_shared<CmdServerLink>();
};
