#include "fido2/channel/confirmation_queue.h"

#include "fido2/file/log.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>

ConfirmationQueue::ConfirmationQueue(Show show, Deny deny, Timing timing, QObject* parent)
    : QObject(parent)
    , m_show(std::move(show))
    , m_deny(std::move(deny))
    , m_timing(timing)
{}

void ConfirmationQueue::add(const ConfirmationRequest& request)
{
    if (isRepetition(request))
        return;
    const auto ofProcess = [&](const Entry& entry) {
        return entry.request.processId == request.processId && entry.surplus == 0;
    };
    if (std::count_if(m_waiting.begin(), m_waiting.end(), ofProcess) >= kMostWaitingPerProcess) {
        addSurplus(request);
        return;
    }
    qCInfo(fido2Log) << "Process" << request.processId << "asks for" << request.operation;
    m_waiting.push_back({request});
    if (!m_busy)
        schedule(0);
}

void ConfirmationQueue::addSurplus(const ConfirmationRequest& request)
{
    const auto last = std::find_if(m_waiting.rbegin(), m_waiting.rend(),
                                   [&](const Entry& entry) { return entry.request.processId == request.processId; });
    if (last->surplus > 0) {
        last->request = request;
        ++last->surplus;
        return;
    }
    qCWarning(fido2Log) << "Too many FIDO2 confirmation requests are waiting; what is too much is denied, of process"
                        << request.processId;
    m_waiting.push_back({request, 1});
}

void ConfirmationQueue::forget(qint64 processId)
{
    const auto ofProcess = [&](const Entry& entry) { return entry.request.processId == processId; };
    m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), ofProcess), m_waiting.end());
}

bool ConfirmationQueue::holds(qint64 processId) const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(),
                       [&](const Entry& entry) { return entry.request.processId == processId; });
}

int ConfirmationQueue::waiting() const
{
    return static_cast<int>(
        std::count_if(m_waiting.begin(), m_waiting.end(), [](const Entry& entry) { return entry.surplus == 0; }));
}

bool ConfirmationQueue::isRepetition(const ConfirmationRequest& request) const
{
    if (!request.data.contains(QStringLiteral("timestamp")))
        return false;
    const bool answerMayBeUnderWay = !m_sinceAnswer.isValid() || m_sinceAnswer.elapsed() < m_timing.repetition;
    return (request == m_shown && answerMayBeUnderWay) ||
           std::any_of(m_waiting.begin(), m_waiting.end(),
                       [&](const Entry& entry) { return entry.request == request; });
}

void ConfirmationQueue::schedule(int delay)
{
    m_busy = true;
    QTimer::singleShot(delay, this, &ConfirmationQueue::showNext);
}

void ConfirmationQueue::showNext()
{
    if (m_waiting.empty()) {
        m_busy = false;
        return;
    }
    if (m_waiting.front().surplus > 0) {
        denyFirst();
        return;
    }
    m_shown = std::move(m_waiting.front().request);
    m_waiting.pop_front();
    m_sinceAnswer.invalidate();
    const QPointer<ConfirmationQueue> alive = this; // the program may end while the dialog is open
    const Show show = m_show;
    show(ConfirmationRequest(m_shown));
    if (!alive)
        return;
    m_sinceAnswer.start();
    schedule(m_timing.pause);
}

void ConfirmationQueue::denyFirst()
{
    Entry& first = m_waiting.front();
    const qint64 processId = first.request.processId;
    if (--first.surplus == 0)
        m_waiting.pop_front();
    m_deny(processId);
    schedule(m_timing.denial);
}
