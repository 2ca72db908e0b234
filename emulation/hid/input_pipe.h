// input_pipe.h: the interrupt IN endpoint of a HID device, with the reports that wait for the host's polls.
#pragma once

#include "emulation/usb/transfer.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <deque>

namespace hid {

/// Hands one report to one transfer of the host, no faster than the endpoint's interval: a virtual bus polls as fast as
/// it is answered, and a host that gets reports faster than any real bus carries them loses some. While an idle time is
/// set, a host that polls is told the state again whenever that time passed without a report (HID 1.11, 7.2.4).
class InputPipe
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /// Reports that can wait.
    static constexpr int kCapacity = 8192;

    explicit InputPipe(Milliseconds interval);

    int waiting() const { return int(m_reports.size()); }
    int room() const { return kCapacity - waiting(); }
    /// `state` is what is repeated once `report` was sent: the same, without movements. Needs room.
    void append(const QByteArray& report, const QByteArray& state);

    /// The state that the host was told last.
    const QByteArray& state() const { return m_state; }
    /// Zero: only changes are sent.
    Milliseconds idle() const { return m_idle; }
    void setIdle(Milliseconds idle);
    /// Reports are cut to as many bytes when they are sent; 0: not at all.
    void setLongest(int bytes) { m_longest = bytes; }
    /// Nothing waits any more, and the host was told `state`.
    void restart(const QByteArray& state);

    void submit(const usb::TransferPointer& transfer);
    void cancelled(const usb::Transfer& transfer);

private:
    void deliver();
    void send(const QByteArray& report);

    const Milliseconds m_interval;
    Milliseconds m_idle{0};
    int m_longest = 0;

    struct Report
    {
        QByteArray bytes;
        QByteArray state;
    };
    std::deque<Report> m_reports;
    std::deque<usb::TransferPointer> m_transfers;
    QByteArray m_state;
    QElapsedTimer m_sinceReport; ///< invalid before the first
    QTimer m_timer;
};

} // namespace hid
