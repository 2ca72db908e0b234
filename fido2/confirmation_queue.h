// confirmation_queue.h: confirmation requests that wait for the user, who sees one at a time.
#pragma once

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

    bool operator==(const ConfirmationRequest& other) const = default;
};

/// GUI thread only. Requests may be added from anywhere, below a socket's handler too: each is shown from a call of the
/// event loop's, after the one before it was answered.
class ConfirmationQueue : public QObject
{
    Q_OBJECT

public:
    /// Requests of one process that may wait; one more is dropped and logged.
    static constexpr int kMostWaitingPerProcess = 32;

    /// `show` asks the user and returns when they have answered; it may run an event loop.
    using Show = std::function<void(const ConfirmationRequest& request)>;

    /// Time in ms after an answer in which a repetition may still arrive that was sent before it.
    static constexpr int kRepetitionMs = 1000;

    explicit ConfirmationQueue(Show show, QObject* parent = nullptr, int repetitionMs = kRepetitionMs);

    /// A device process repeats a request that no one answers: one that bears a "timestamp" and is the same in all else
    /// as a waiting one or as the one that is shown is that repetition and is dropped. So is one that comes just after
    /// the answer; later ones say that the answer was lost and are asked again.
    void add(const ConfirmationRequest& request);

    /// Drops what waits for that process; a dialog that is open stays.
    void forget(qint64 processId);

    int waiting() const { return static_cast<int>(m_waiting.size()); }

private:
    void schedule();
    void showNext();
    bool isRepetition(const ConfirmationRequest& request) const;

    Show m_show;
    std::deque<ConfirmationRequest> m_waiting;
    ConfirmationRequest m_shown; ///< the one that is shown, or was last
    QElapsedTimer m_sinceAnswer; ///< invalid while one is shown
    int m_repetitionMs;
    bool m_busy = false; ///< a dialog is open or about to be opened
};
