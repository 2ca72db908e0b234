// fido2_server.h: the device's end of the confirmation channel, the local server "Fido2Server_PID".
#pragma once

#include <QJsonObject>
#include <QLocalServer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <list>
#include <map>
#include <set>

class QLocalSocket;

/// Asks one program at a time: the one that has been connected longest. Others wait until it leaves, so two windows do
/// not take the channel from each other. Answers a ping with a pong. A request is written in one piece, and again every
/// two seconds, the same to the byte, until it is answered: the other end drops what does not arrive as exactly one
/// message.
class Fido2Server : public QObject
{
    Q_OBJECT

public:
    explicit Fido2Server(qint64 processId, QObject* parent = nullptr);
    ~Fido2Server() override;

    /// Empty, or the sentence that says why it does not listen.
    QString listen();

    using Answered = std::function<void(bool confirmed, const QJsonObject& result)>;

    /// One request at a time; false while another one waits for its answer.
    bool ask(const QString& operation, const QJsonObject& data, Answered answered);

    /// Nobody waits for the answer any more. It still comes if a program has the request: answers bear no id, so of
    /// each process as many are dropped as it had requests that were given up, whichever connection brings them.
    void withdraw();

    /// Whether there is a program that could show a request.
    bool isConnected() const { return !m_programs.empty(); }

private:
    struct Program
    {
        QLocalSocket* socket;
        qint64 process; ///< 0 when the system does not tell
    };

    void takeConnection();
    void takeMessage(QLocalSocket* from, const QByteArray& bytes);
    void takeAnswer(qint64 process, const QJsonObject& message);
    void writeRequest();
    /// Of the processes that have the request, all but one owe an answer that nobody waits for.
    void expectLateAnswers(qint64 answered = -1);

    QString m_name;
    QLocalServer m_server;
    std::list<Program> m_programs; ///< the first is asked
    QTimer m_repeat;
    QByteArray m_request;
    Answered m_answered;
    std::set<qint64> m_asked;        ///< processes that the request reached
    std::map<qint64, int> m_givenUp; ///< answers of each process that are still to come, and to be dropped
};
