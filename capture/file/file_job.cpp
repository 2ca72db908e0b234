#include "capture/file/file_job.h"

#include "capture/file/capture_reader.h"
#include "capture/file/capture_writer.h"
#include "capture/file/record_sink.h"
#include "runtime/whole_file.h"

#include <QSaveFile>

#include <new>

namespace {

/// The work, which ends with words when a block of memory is refused: a file may ask for more than there is.
FileJob::Work withinMemory(FileJob::Work work)
{
    return [work = std::move(work)](JobProgress& progress) {
        try {
            return work(progress);
        } catch (const std::bad_alloc&) {
            return CaptureFile::tr("There is not enough memory.");
        }
    };
}

QString write(PacketReader reader, std::size_t first, std::size_t end, const QString& path, JobProgress& progress)
{
    QSaveFile file(path);
    // The writer collects bytes itself; behind another buffer the reason of a full disk would be lost.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return file.errorString();
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const auto writer = CaptureWriter::forPath(path, file);
    for (std::size_t number = first; number < end; ++number) {
        if (progress.isCancelled())
            return {};
        if (!writer->add(reader.read(number).borrow()))
            return file.errorString();
        progress.setPart(qint64(number - first), qint64(end - first));
    }
    if (!writer->flush())
        return file.errorString();
    return progress.isCancelled() ? QString() : commitWholeFile(file);
}

} // namespace

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
    return withinMemory([store = std::move(store), first, end, path](JobProgress& progress) {
        return write(PacketReader(store), first, end, path, progress);
    });
}

FileJob::Work loadingWork(std::shared_ptr<PacketStore> store, const QString& path)
{
    return withinMemory([store = std::move(store), path](JobProgress& progress) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return file.errorString();
        return readCapture(file, *store, progress);
    });
}
