// server_names.h: which server of this program has which name.
#pragma once

#include <QHash>
#include <QMutex>
#include <QString>

class CmdServer;

/// The system lets a second server of one program take a name from the first without a word, so the program counts.
class ServerNames
{
public:
    static ServerNames& instance();

    /// True when `server` now has the name. A holder that has retired gives it up. Main thread only.
    bool claim(const QString& name, CmdServer& server);
    void release(const CmdServer& server);

private:
    CmdServer* holder(const QString& name);

    QMutex m_lock;
    QHash<QString, CmdServer*> m_holders;
};
