#include "fido2/confirmation_queue.h"

#include "fido2/log.h"

#include <QPointer>

#include <algorithm>

ConfirmationQueue::ConfirmationQueue(Show show, QObject* parent, int repetitionMs)
    : QObject(parent)
    , m_show(std::move(show))
    , m_repetitionMs(repetitionMs)
{}

void ConfirmationQueue::add(const ConfirmationRequest& request)
{
    if (isRepetition(request))
        return;
    const auto ofProcess = [&](const ConfirmationRequest& waiting) { return waiting.processId == request.processId; };
    if (std::count_if(m_waiting.begin(), m_waiting.end(), ofProcess) >= kMostWaitingPerProcess) {
        qCWarning(fido2Log) << "Too many FIDO2 confirmation requests are waiting; one dropped, of process"
                            << request.processId;
        return;
    }
    qCInfo(fido2Log) << "Process" << request.processId << "asks for" << request.operation;
    m_waiting.push_back(request);
    if (!m_busy)
        schedule();
}

void ConfirmationQueue::forget(qint64 processId)
{
    const auto ofProcess = [&](const ConfirmationRequest& waiting) { return waiting.processId == processId; };
    m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), ofProcess), m_waiting.end());
}

bool ConfirmationQueue::isRepetition(const ConfirmationRequest& request) const
{
    if (!request.data.contains(QStringLiteral("timestamp")))
        return false;
    const bool answerMayBeUnderWay = !m_sinceAnswer.isValid() || m_sinceAnswer.elapsed() < m_repetitionMs;
    return (request == m_shown && answerMayBeUnderWay) ||
           std::find(m_waiting.begin(), m_waiting.end(), request) != m_waiting.end();
}

void ConfirmationQueue::schedule()
{
    m_busy = true;
    QMetaObject::invokeMethod(this, &ConfirmationQueue::showNext, Qt::QueuedConnection);
}

void ConfirmationQueue::showNext()
{
    if (m_waiting.empty()) {
        m_busy = false;
        return;
    }
    m_shown = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_sinceAnswer.invalidate();
    const QPointer<ConfirmationQueue> alive = this; // the program may end while the dialog is open
    const Show show = m_show;
    show(ConfirmationRequest(m_shown));
    if (!alive)
        return;
    m_sinceAnswer.start();
    schedule();
}
