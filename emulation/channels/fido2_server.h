// fido2_server.h: the device's end of the confirmation channel, the local server "Fido2Server_PID".
#pragma once

#include <QJsonObject>
#include <QLocalServer>
#include <QObject>
#include <QTimer>

#include <functional>

class QLocalSocket;

/// Serves one program at a time; a new connection takes the place of the old one. Answers a ping with a pong. A request
/// is written in one piece, and again every two seconds, the same to the byte, until it is answered: the other end
/// drops what does not arrive as exactly one message.
class Fido2Server : public QObject
{
    Q_OBJECT

public:
    explicit Fido2Server(qint64 processId, QObject* parent = nullptr);

    /// Empty, or the sentence that says why it does not listen.
    QString listen();

    using Answered = std::function<void(bool confirmed, const QJsonObject& result)>;

    /// One request at a time; false while another one waits for its answer.
    bool ask(const QString& operation, const QJsonObject& data, Answered answered);

    /// Nobody waits for the answer any more. It still comes if a program has the request: answers bear no id, so as
    /// many are dropped as requests were given up, whichever connection brings them.
    void withdraw();

    /// Whether there is a program that could show a request.
    bool isConnected() const { return m_program != nullptr; }

private:
    void takeConnection();
    void takeMessage(const QLocalSocket* from, const QByteArray& bytes);
    void writeRequest();
    /// False when it could not be written now.
    bool writeMessage(const QByteArray& bytes);

    QString m_name;
    QLocalServer m_server;
    QLocalSocket* m_program = nullptr;
    QTimer m_repeat;
    QByteArray m_request;
    Answered m_answered;
    bool m_isWritten = false; ///< the request reached a program
    int m_givenUp = 0;        ///< requests whose answer is still to come, and to be dropped
};
