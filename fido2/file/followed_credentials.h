// followed_credentials.h: keeps a list of credentials that is being edited up to date with its file.
#pragma once

#include <QFileSystemWatcher>
#include <QJsonArray>
#include <QObject>
#include <QString>

#include <optional>

/// The device process writes the same file while the user edits what was read from it.
class FollowedCredentials : public QObject
{
    Q_OBJECT

public:
    explicit FollowedCredentials(QObject* parent = nullptr);

    /// `inFile` is what the file at `path` holds now.
    void follow(const QString& path, const QJsonArray& inFile);
    void stop();
    bool isFollowing() const { return m_inFile.has_value(); }

    /// What the file held at the last look; nothing when none is followed.
    QJsonArray inFile() const { return m_inFile.value_or(QJsonArray()); }

    /// `mine` with what others changed in the file since the last look; nothing when they changed nothing, the file
    /// cannot be read, or none is followed.
    std::optional<QJsonArray> pull(const QJsonArray& mine);

signals:
    /// The file or its folder changed on disk.
    void touched();

private:
    QString m_path;
    std::optional<QJsonArray> m_inFile; ///< at the last look
    QFileSystemWatcher m_watcher;
};
