#include "emulation/hid/input_pipe.h"

#include <algorithm>

namespace hid {

InputPipe::InputPipe(Milliseconds interval) : m_interval(interval)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { deliver(); });
}

void InputPipe::append(const QByteArray& report, const QByteArray& state)
{
    Q_ASSERT(room() > 0);
    m_reports.push_back({report, state});
    deliver();
}

void InputPipe::setIdle(Milliseconds idle)
{
    m_idle = idle;
    deliver();
}

void InputPipe::restart(const QByteArray& state)
{
    m_reports.clear();
    m_sinceReport.invalidate();
    m_state = state;
}

void InputPipe::submit(const usb::TransferPointer& transfer)
{
    m_transfers.push_back(transfer);
    deliver();
}

void InputPipe::cancelled(const usb::Transfer& transfer)
{
    const auto isIt = [&](const usb::TransferPointer& each) { return each.get() == &transfer; };
    m_transfers.erase(std::remove_if(m_transfers.begin(), m_transfers.end(), isIt), m_transfers.end());
}

void InputPipe::deliver()
{
    m_timer.stop();
    if (m_transfers.empty() || (m_reports.empty() && m_idle == Milliseconds::zero()))
        return;
    const Milliseconds due = m_reports.empty() ? std::max(m_idle, m_interval) : m_interval;
    if (!m_sinceReport.isValid() && m_reports.empty())
        m_sinceReport.start();
    const Milliseconds passed{m_sinceReport.isValid() ? m_sinceReport.elapsed() : due.count()};
    if (passed < due) {
        m_timer.start(due - passed);
        return;
    }
    if (m_reports.empty()) {
        send(m_state);
    } else {
        const Report report = std::move(m_reports.front());
        m_reports.pop_front();
        m_state = report.state;
        send(report.bytes);
    }
    deliver();
}

void InputPipe::send(const QByteArray& report)
{
    m_sinceReport.start();
    const usb::TransferPointer transfer = std::move(m_transfers.front());
    m_transfers.pop_front();
    transfer->completeIn(m_longest > 0 ? report.left(m_longest) : report);
}

} // namespace hid
