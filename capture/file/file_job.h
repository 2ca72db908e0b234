// file_job.h: reads or writes a capture file beside the window.
#pragma once

#include "capture/channel/packet_store.h"
#include "capture/file/job_progress.h"

#include <QObject>

#include <functional>
#include <memory>
#include <thread>

/// Runs at once on a thread of its own: a slow disk stops no window. Destroying it waits for the end of its work.
class FileJob : public QObject
{
    Q_OBJECT

public:
    /// Runs on the thread; gives why it failed. Ends soon once it is cancelled.
    using Work = std::function<QString(JobProgress&)>;

    explicit FileJob(Work work);
    ~FileJob() override;

    /// finished() follows soon.
    void cancel() { m_progress.cancel(); }
    bool isCancelled() const { return m_progress.isCancelled(); }
    int percentDone() const { return m_progress.percentDone(); }

signals:
    /// Once, on this object's thread. `error`: empty when it was done, and when it was cancelled.
    void finished(QString error);

private:
    JobProgress m_progress;
    std::thread m_thread;
};

/// Writes the packets that the store has from `first` on. The file is whole or, when it fails or is cancelled, what it
/// was before; readable by its owner only. The path's ending says which form it has: see CaptureWriter.
FileJob::Work savingWork(std::shared_ptr<const PacketStore> store, std::size_t first, const QString& path);

/// Reads the file into `store`, which nobody else uses meanwhile. What came before a fault in the file is there.
FileJob::Work loadingWork(std::shared_ptr<PacketStore> store, const QString& path);
