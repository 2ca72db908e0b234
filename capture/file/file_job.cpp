#include "capture/file/file_job.h"

#include "capture/file/capture_reader.h"
#include "capture/file/capture_writer.h"

#include <QSaveFile>

FileJob::FileJob(Work work)
{
    m_thread = std::thread([this, work = std::move(work)] {
        const QString error = work(m_progress);
        QMetaObject::invokeMethod(
            this, [this, error] { emit finished(isCancelled() ? QString() : error); }, Qt::QueuedConnection);
    });
}

FileJob::~FileJob()
{
    m_thread.join();
}

FileJob::Work savingWork(std::shared_ptr<const PacketStore> store, std::size_t first, const QString& path)
{
    const std::size_t end = store->size();
    return [store = std::move(store), first, end, path](JobProgress& progress) {
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return file.errorString();
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        const auto writer = CaptureWriter::forPath(path, file);
        PacketReader reader(store);
        for (std::size_t number = first; number < end; ++number) {
            if (progress.isCancelled())
                return QString();
            if (!writer->add(reader.read(number).borrow()))
                return file.errorString();
            progress.setPart(qint64(number - first), qint64(end - first));
        }
        return writer->flush() && !progress.isCancelled() && file.commit() ? QString() : file.errorString();
    };
}

FileJob::Work loadingWork(std::shared_ptr<PacketStore> store, const QString& path)
{
    return [store = std::move(store), path](JobProgress& progress) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return file.errorString();
        return readCapture(file, *store, progress);
    };
}
