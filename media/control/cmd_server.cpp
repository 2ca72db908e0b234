#include "media/control/cmd_server.h"

#include "media/control/server_names.h"
#include "media/log.h"
#include "runtime/local_peer.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QThread>

#include <utility>

namespace {

constexpr int kMaxUnsentBytes = 1024 * 1024; // A client that does not read loses replies beyond this.
constexpr int kProbeMilliseconds = 500;

/// Whether another program answers under the name.
bool isNameServed(const QString& name)
{
    QLocalSocket probe;
    probe.connectToServer(name);
    return probe.waitForConnected(kProbeMilliseconds);
}

} // namespace

CmdServer::CmdServer(QObject* parent) : QObject(parent), m_ownerThread(QThread::currentThread())
{
    setObjectName(QStringLiteral("CmdServer"));
    m_link->server = this;
}

CmdServer::~CmdServer()
{
    {
        const std::lock_guard guard(m_link->lock);
        m_link->server = nullptr;
    }
    StopServer();
    if (!m_stopSignalled)
        emit ServerStatusChanged(false);
}

bool CmdServer::IsMainThread()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}

void CmdServer::MoveToThread(QThread* target)
{
    if (thread() != target)
        moveToThread(target);
}

bool CmdServer::StartServer(const QString& name)
{
    const QMutexLocker locker(&m_lock);
    if (m_server)
        return m_server->isListening();
    if (IsMainThread())
        return listen(name);
    const QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return false;
    MoveToThread(application->thread());
    connect(this, &CmdServer::StartServerRequested, this, &CmdServer::StartServerInMainThread,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
    emit StartServerRequested(name);
    return true;
}

void CmdServer::StartServerInMainThread(QString serverName)
{
    const QMutexLocker locker(&m_lock);
    if (m_retired || m_server)
        return;
    if (!parent())
        setParent(QCoreApplication::instance()); // Not before: an object's parent lives on its own thread.
    if (!listen(serverName))
        qCWarning(mediaLog, "ERROR: The command server cannot listen as \"%s\".", qUtf8Printable(serverName));
}

bool CmdServer::listen(const QString& name)
{
    const bool isPath = name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\'));
    if (name.isEmpty() || isPath || !ServerNames::instance().claim(name, this, [this] { giveUpName(); }))
        return false;
    m_name = name;
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    const bool connected =
        connect(m_server, &QLocalServer::newConnection, this, &CmdServer::HandleNewConnection, Qt::QueuedConnection);
    bool listening = false;
    if (connected && !isNameServed(name)) {
        const QString fault = claimServerName(name);
        if (!fault.isEmpty())
            qCWarning(mediaLog, "The name \"%s\" is not free: %s.", qUtf8Printable(name), qUtf8Printable(fault));
        listening = fault.isEmpty() && m_server->listen(name);
    }
    if (!listening) {
        delete std::exchange(m_server, nullptr);
        ServerNames::instance().release(this);
        return false;
    }
    m_stopSignalled = false;
    emit ServerStatusChanged(true);
    return true;
}

void CmdServer::StopServer()
{
    const QMutexLocker locker(&m_lock);
    if (m_client) {
        m_client->disconnect(this);
        m_client->disconnectFromServer();
        delete m_client.data();
    }
    m_received.clear();
    if (m_server) {
        m_server->close();
        delete std::exchange(m_server, nullptr);
        ServerNames::instance().release(this);
        m_stopSignalled = true;
        emit ServerStatusChanged(false);
    }
}

void CmdServer::giveUpName()
{
    const QMutexLocker locker(&m_lock);
    if (m_retired)
        StopServer();
}

void CmdServer::Retire()
{
    const QMutexLocker locker(&m_lock);
    m_handler = nullptr;
    m_retired = true;
    if (QThread::currentThread() == thread())
        finishRetirement();
    else
        QMetaObject::invokeMethod(
            this, [this] { finishRetirement(); }, Qt::QueuedConnection);
}

void CmdServer::finishRetirement()
{
    StopServer();
    deleteLater();
}

bool CmdServer::IsRunning() const
{
    const QMutexLocker locker(&m_lock);
    return m_server && m_server->isListening();
}

void CmdServer::SetCommandHandler(CommandHandler handler)
{
    const QMutexLocker locker(&m_lock);
    m_handler = std::move(handler);
}

void CmdServer::SetEchoEnabled(bool enabled)
{
    const QMutexLocker locker(&m_lock);
    m_echo = enabled;
}

bool CmdServer::IsEchoEnabled() const
{
    const QMutexLocker locker(&m_lock);
    return m_echo;
}

void CmdServer::HandleNewConnection()
{
    const QMutexLocker locker(&m_lock);
    QLocalSocket* pending = m_server ? m_server->nextPendingConnection() : nullptr;
    if (!pending)
        return;
    if (const QString fault = faultOfClient(pending->socketDescriptor(), m_name); !fault.isEmpty()) {
        qCWarning(mediaLog, "%s.", qUtf8Printable(fault));
        pending->abort();
        pending->deleteLater();
        return;
    }
    if (m_client) {
        refuse(*pending);
        return;
    }
    m_client = pending;
    m_reportedUnread = false;
    m_reportedLongLine = false;
    pending->setReadBufferSize(LineSplitter::kMaxLineLength);
    // What came before this call was signalled to nobody, and greeting a client that has left would lose it.
    pending->waitForReadyRead(0);
    const QByteArray early = pending->readAll();
    if (!connect(pending, &QLocalSocket::readyRead, this, &CmdServer::HandleCommandData) ||
        !connect(pending, &QLocalSocket::disconnected, this, &CmdServer::HandleClientDisconnected)) {
        delete pending;
        m_client = nullptr;
        return;
    }
    emit ClientConnected();
    if (m_client && m_client->state() == QLocalSocket::ConnectedState)
        sendReply(*m_client, QStringLiteral("OK: Command server ready"));
    if (!early.isEmpty())
        receive(early);
    if (m_client && m_client->state() == QLocalSocket::UnconnectedState)
        HandleClientDisconnected();
}

/// The socket goes once it has disconnected: on Windows, deleting it earlier would lose the line.
void CmdServer::refuse(QLocalSocket& socket)
{
    connect(&socket, &QLocalSocket::disconnected, &socket, &QObject::deleteLater);
    sendReply(socket, QStringLiteral("ERROR: Another client is already connected"));
    socket.disconnectFromServer();
    if (socket.state() == QLocalSocket::UnconnectedState)
        socket.deleteLater();
}

void CmdServer::send(QLocalSocket& socket, const QByteArray& bytes)
{
    if (socket.state() != QLocalSocket::ConnectedState)
        return;
    if (socket.bytesToWrite() > kMaxUnsentBytes) {
        if (!std::exchange(m_reportedUnread, true))
            qCWarning(mediaLog, "The client of the command server does not read; what it is sent is dropped.");
        return;
    }
    socket.write(bytes);
    socket.flush();
}

void CmdServer::sendReply(QLocalSocket& socket, const QString& text)
{
    send(socket, text.toUtf8() + "\r\n");
}

void CmdServer::HandleCommandData()
{
    const QMutexLocker locker(&m_lock);
    if (m_client)
        receive(m_client->readAll());
}

/// The client may leave at any write in here; what it has said still counts.
void CmdServer::receive(const QByteArray& bytes)
{
    if (m_echo && m_client)
        send(*m_client, bytes);
    m_received.append(QString::fromUtf8(bytes.constData(), bytes.size())); // A NUL byte is a character like others.
    while (const std::optional<LineSplitter::Line> line = m_received.next()) {
        if (line->isTooLong)
            refuseLongLine();
        else
            answer(line->text);
    }
    if (!m_client)
        m_received.clear();
}

void CmdServer::refuseLongLine()
{
    if (!std::exchange(m_reportedLongLine, true))
        qCWarning(mediaLog, "A command line of more than %d characters was dropped.", LineSplitter::kMaxLineLength);
    if (m_client)
        sendReply(*m_client, QStringLiteral("ERROR: Command line too long"));
}

void CmdServer::answer(const QString& line)
{
    emit CommandReceived(line);
    QString reply = QStringLiteral("ERROR: No command handler set");
    if (const CommandHandler handler = m_handler) {
        reply.clear();
        handler(line, reply);
    }
    if (m_client)
        sendReply(*m_client, reply);
}

void CmdServer::HandleClientDisconnected()
{
    const QMutexLocker locker(&m_lock);
    if (m_client)
        m_client->deleteLater();
    m_client = nullptr;
    m_received.clear();
    emit ClientDisconnected();
}
