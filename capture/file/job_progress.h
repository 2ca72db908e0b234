// job_progress.h: how far a job on another thread has come, and whether it is to end.
#pragma once

#include <QtGlobal>

#include <atomic>

/// Every function may be called on every thread.
class JobProgress
{
public:
    void setPart(qint64 done, qint64 whole) { m_percent = whole <= 0 ? 100 : static_cast<int>(done * 100 / whole); }
    int percentDone() const { return m_percent; }
    void cancel() { m_cancelled = true; }
    bool isCancelled() const { return m_cancelled; }

private:
    std::atomic<int> m_percent{0};
    std::atomic<bool> m_cancelled{false};
};
