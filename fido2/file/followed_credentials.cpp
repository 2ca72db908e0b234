#include "fido2/file/followed_credentials.h"

#include "fido2/file/credentials_file.h"
#include "fido2/file/credentials_merge.h"

#include <QFileInfo>

FollowedCredentials::FollowedCredentials(QObject* parent) : QObject(parent), m_watcher(this)
{
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &FollowedCredentials::touched);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &FollowedCredentials::touched);
}

void FollowedCredentials::follow(const QString& path, const QJsonArray& inFile)
{
    stop();
    m_path = path;
    m_inFile = inFile;
    // A file that is replaced is no longer watched; its folder tells.
    m_watcher.addPaths({path, QFileInfo(path).path()});
}

void FollowedCredentials::stop()
{
    m_inFile.reset();
    if (const QStringList watched = m_watcher.files() + m_watcher.directories(); !watched.isEmpty())
        m_watcher.removePaths(watched);
}

std::optional<QJsonArray> FollowedCredentials::pull(const QJsonArray& mine)
{
    if (!m_inFile)
        return {};
    CredentialsFile file(m_path);
    if (file.load() != JsonFileContent::State::Object || file.credentials() == *m_inFile)
        return {};
    const QJsonArray merged = mergedCredentials(*m_inFile, mine, file.credentials());
    follow(m_path, file.credentials());
    return merged;
}
