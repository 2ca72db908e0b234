#include "media/server_names.h"

#include "media/cmd_server.h"

#include <QMutexLocker>

ServerNames& ServerNames::instance()
{
    static ServerNames names;
    return names;
}

CmdServer* ServerNames::holder(const QString& name)
{
    const QMutexLocker locker(&m_lock);
    return m_holders.value(name);
}

bool ServerNames::claim(const QString& name, CmdServer& server)
{
    // Servers stop and die on the main thread, which is the caller's, so the holder stays while it is looked at.
    if (CmdServer* current = holder(name)) {
        const QMutexLocker serverLocker(&current->m_lock);
        if (current->m_retired)
            current->StopServer();
    }
    const QMutexLocker locker(&m_lock);
    if (m_holders.contains(name))
        return false;
    m_holders.insert(name, &server);
    return true;
}

void ServerNames::release(const CmdServer& server)
{
    const QMutexLocker locker(&m_lock);
    for (auto entry = m_holders.begin(); entry != m_holders.end();)
        entry = entry.value() == &server ? m_holders.erase(entry) : std::next(entry);
}
