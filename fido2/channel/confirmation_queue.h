// confirmation_queue.h: confirmation requests that wait for the user, who sees one at a time.
#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QString>

#include <deque>
#include <functional>

struct ConfirmationRequest
{
    qint64 processId = 0;
    QString operation;
    QJsonObject data;
    QDateTime arrived;

    /// Whenever it arrived.
    bool operator==(const ConfirmationRequest& other) const
    {
        return processId == other.processId && operation == other.operation && data == other.data;
    }
};

/// GUI thread only. Requests may be added from anywhere, below a socket's handler too: each is shown from a call of the
/// event loop's, a pause after the one before it was answered, so that a double click answers one only.
class ConfirmationQueue : public QObject
{
    Q_OBJECT

public:
    /// Requests of one process that may wait for the user; each one more is denied in its turn and logged.
    static constexpr int kMostWaitingPerProcess = 32;

    /// In ms.
    struct Timing
    {
        int repetition = 1000; ///< after an answer, in which a repetition may still arrive that was sent before it
        int pause = 500;       ///< between an answer and the next dialog
        int denial = 20;       ///< between two denials: answers that arrive as one read are lost
    };

    /// `show` asks the user and returns when they have answered; it may run an event loop. `deny` answers a surplus
    /// request of that process: answers carry no id, so each must come when those before it were given.
    using Show = std::function<void(const ConfirmationRequest& request)>;
    using Deny = std::function<void(qint64 processId)>;

    ConfirmationQueue(Show show, Deny deny, Timing timing, QObject* parent = nullptr);

    /// A device process repeats a request that no one answers: one that bears a "timestamp" and is the same in all else
    /// as a waiting one or as the one that is shown is that repetition and is dropped. So is one that comes just after
    /// the answer; later ones say that the answer was lost and are asked again.
    void add(const ConfirmationRequest& request);

    /// Drops what waits for that process; a dialog that is open stays.
    void forget(qint64 processId);

    /// Whether a request of that process waits.
    bool holds(qint64 processId) const;

    /// Requests that wait for the user.
    int waiting() const;

private:
    struct Entry
    {
        ConfirmationRequest request; ///< of several surplus ones the last
        int surplus = 0;             ///< requests that are denied unseen; 0 for one that is shown
    };

    void addSurplus(const ConfirmationRequest& request);
    void schedule(int delay);
    void showNext();
    void denyFirst();
    bool isRepetition(const ConfirmationRequest& request) const;

    Show m_show;
    Deny m_deny;
    Timing m_timing;
    std::deque<Entry> m_waiting;
    ConfirmationRequest m_shown; ///< the one that is shown, or was last
    QElapsedTimer m_sinceAnswer; ///< invalid while one is shown
    bool m_busy = false;         ///< a dialog is open, or the next turn is due
};
