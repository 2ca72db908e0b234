#include "runtime/whole_file.h"

#include "runtime/log.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QThread>

namespace {

constexpr QFileDevice::Permissions kOwnerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

enum class Outcome
{
    Written,
    Failed, ///< the bytes could not be stored
    Refused ///< the folder takes no new file, or not in place of the old one
};

Outcome replaceFile(const QString& path, const QByteArray& bytes, QString& reason)
{
    QSaveFile file(path);
    Outcome outcome = Outcome::Written;
    if (!file.open(QIODevice::WriteOnly)) {
        outcome = Outcome::Refused;
    } else {
        file.setPermissions(kOwnerOnly);
        // Flushed here, as commit() alone would put a file in place whose last bytes could not be written.
        if (file.write(bytes) != bytes.size() || !file.flush()) {
            outcome = Outcome::Failed;
        } else if (!reachesDisk(file.handle())) { // commit() alone takes no notice
            reason = qt_error_string();
            return Outcome::Failed;
        } else if (!file.commit()) {
            outcome = file.error() == QFileDevice::WriteError ? Outcome::Failed : Outcome::Refused;
        }
    }
    reason = file.errorString();
    return outcome;
}

/// Unbuffered: what is written is on its way to the disk when write() returns.
bool overwriteFile(const QString& path, const QByteArray& bytes, QString& reason)
{
    QFile file(path);
    if (!file.exists())
        return false;
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        reason = file.errorString();
        return false;
    }
    const QByteArray old = file.readAll();
    file.setPermissions(kOwnerOnly);
    if (file.seek(0) && file.write(bytes) == bytes.size() && file.resize(bytes.size()))
        return true;
    reason = file.errorString();
    if (file.seek(0) && file.write(old) == old.size())
        file.resize(old.size());
    return false;
}

} // namespace

void removeLeftSaves(const QString& path)
{
    constexpr int kYoungest = 60; // s; a younger one may be under way
    static const QRegularExpression kSuffix(QStringLiteral("\\.(?=.*[A-Z])(?=.*[a-z])[A-Za-z]{6}\\z"));
    const QFileInfo file(path);
    const QFileInfoList found = file.dir().entryInfoList({file.fileName() + QStringLiteral(".??????")},
                                                         QDir::Files | QDir::NoSymLinks | QDir::CaseSensitive);
    for (const QFileInfo& left : found) {
        if (kSuffix.match(left.fileName()).hasMatch() &&
            left.lastModified().secsTo(QDateTime::currentDateTime()) >= kYoungest)
            QFile::remove(left.filePath());
    }
}

QString writeWholeFile(const QString& path, const QByteArray& bytes)
{
    removeLeftSaves(path);
    QString reason;
    switch (replaceFile(path, bytes, reason)) {
    case Outcome::Written:
        return {};
    case Outcome::Failed:
        return reason;
    case Outcome::Refused:
        return overwriteFile(path, bytes, reason) ? QString() : reason;
    }
    return reason;
}

QString commitWholeFile(QSaveFile& file)
{
    if (!file.flush())
        return file.errorString();
    if (!reachesDisk(file.handle()))
        return qt_error_string();
    return file.commit() ? QString() : file.errorString();
}

FileLock::FileLock(const QString& path, int timeoutMs)
{
    open(lockPath(path));
    if (m_file == -1)
        return;
    const QDeadlineTimer end(timeoutMs);
    while (!(m_held = tryLock()) && !end.hasExpired())
        QThread::msleep(1);
    if (!m_held)
        qCWarning(appLog).noquote() << "Going on without the lock that another holds:" << lockPath(path);
}

FileLock::~FileLock()
{
    if (m_file != -1)
        close();
}
