#include "media/control/server_names.h"

#include <QMutexLocker>

#include <utility>

ServerNames& ServerNames::instance()
{
    static ServerNames names;
    return names;
}

bool ServerNames::claim(const QString& name, const void* holder, std::function<void()> giveUp)
{
    QMutexLocker locker(&m_lock);
    if (const auto askHolder = m_holders.value(name).giveUp) {
        locker.unlock(); // It releases the name.
        askHolder();
        locker.relock();
    }
    if (m_holders.contains(name))
        return false;
    m_holders.insert(name, {holder, std::move(giveUp)});
    return true;
}

void ServerNames::release(const void* holder)
{
    const QMutexLocker locker(&m_lock);
    for (auto entry = m_holders.begin(); entry != m_holders.end();)
        entry = entry->identity == holder ? m_holders.erase(entry) : std::next(entry);
}
