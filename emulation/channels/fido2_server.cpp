#include "emulation/channels/fido2_server.h"

#include "emulation/channels/local_service.h"
#include "runtime/local_peer.h"
#include "runtime/one_write.h"

#include <QJsonDocument>
#include <QLocalSocket>
#include <QPointer>

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::seconds kRepeatInterval{2};
constexpr qint64 kLargestMessage = 1024 * 1024; // bytes
constexpr int kEarlierWriteTimeoutMs = 500;

/// False when it could not be written now: two messages must not leave as one write, and on Windows an earlier one may
/// still be on its way. Then it is a request that is repeated, or a pong that no one misses.
bool writeMessage(const QPointer<QLocalSocket>& program, const QByteArray& bytes)
{
    if (program->bytesToWrite() > 0)
        program->waitForBytesWritten(kEarlierWriteTimeoutMs); // may find the connection lost
    if (!program || program->state() != QLocalSocket::ConnectedState || program->bytesToWrite() > 0)
        return false;
    program->write(bytes);
    program->flush();
    return true;
}

} // namespace

Fido2Server::Fido2Server(qint64 processId, QObject* parent)
    : QObject(parent)
    , m_name(QStringLiteral("Fido2Server_%1").arg(processId))
{
    connect(&m_server, &QLocalServer::newConnection, this, &Fido2Server::takeConnection);
    m_repeat.setInterval(kRepeatInterval);
    connect(&m_repeat, &QTimer::timeout, this, &Fido2Server::writeRequest);
}

Fido2Server::~Fido2Server()
{
    for (const Program& program : m_programs)
        program.socket->disconnect(this); // closing it must not report to a half-destroyed server
}

QString Fido2Server::listen()
{
    return listenLocally(m_server, m_name);
}

bool Fido2Server::ask(const QString& operation, const QJsonObject& data, Answered answered)
{
    if (m_answered)
        return false;
    m_answered = std::move(answered);
    m_request = QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("user_confirmation_request")},
                                          {QStringLiteral("operation"), operation},
                                          {QStringLiteral("data"), data}})
                    .toJson();
    m_asked.clear();
    writeRequest();
    m_repeat.start();
    return true;
}

void Fido2Server::withdraw()
{
    if (!m_answered)
        return;
    m_repeat.stop();
    m_answered = nullptr;
    expectLateAnswers();
}

void Fido2Server::expectLateAnswers(qint64 answered)
{
    m_asked.erase(answered);
    for (const qint64 process : m_asked)
        ++m_givenUp[process];
    m_asked.clear();
}

void Fido2Server::writeRequest()
{
    if (m_programs.empty())
        return;
    const Program program = m_programs.front(); // waiting for an earlier write may find it lost
    if (writeMessage(program.socket, m_request))
        m_asked.insert(program.process);
}

void Fido2Server::takeConnection()
{
    while (QLocalSocket* next = nextLocalClient(m_server)) {
        m_programs.push_back({next, localClient(next->socketDescriptor()).processId.value_or(0)});
        next->setReadBufferSize(kLargestMessage + 1);
        auto* reader = new OneWriteReader(
            *next, kLargestMessage, [this, next](const QByteArray& bytes) { takeMessage(next, bytes); }, next);
        connect(next, &QLocalSocket::readyRead, reader, &OneWriteReader::read);
        connect(next, &QLocalSocket::disconnected, this, [this, next] {
            m_programs.remove_if([next](const Program& program) { return program.socket == next; });
        });
    }
}

void Fido2Server::takeMessage(QLocalSocket* from, const QByteArray& bytes)
{
    const QJsonObject message = QJsonDocument::fromJson(bytes).object();
    const QString type = message.value(QStringLiteral("type")).toString();
    if (type == QStringLiteral("ping"))
        writeMessage(from, QJsonDocument(QJsonObject{{QStringLiteral("type"), QStringLiteral("pong")}}).toJson());
    else if (type == QStringLiteral("user_confirmation_response") && !m_programs.empty() &&
             m_programs.front().socket == from)
        takeAnswer(m_programs.front().process, message);
}

void Fido2Server::takeAnswer(qint64 process, const QJsonObject& message)
{
    if (const auto owed = m_givenUp.find(process); owed != m_givenUp.end()) {
        if (--owed->second == 0)
            m_givenUp.erase(owed);
        return;
    }
    if (!m_answered)
        return;
    m_repeat.stop();
    expectLateAnswers(process);
    const Answered answered = std::exchange(m_answered, nullptr);
    answered(message.value(QStringLiteral("confirmed")).toBool(), message.value(QStringLiteral("data")).toObject());
}
