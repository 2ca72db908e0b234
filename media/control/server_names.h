// server_names.h: which server of this program has which name.
#pragma once

#include <QHash>
#include <QMutex>
#include <QString>

#include <functional>

/// The system lets a second server of one program take a name from the first without a word, so the program counts.
class ServerNames
{
public:
    static ServerNames& instance();

    /// True when `holder` now has the name. A holder before it is asked first: its `giveUp` releases the name when it
    /// can do without. Main thread only, on which holders also live and die.
    bool claim(const QString& name, const void* holder, std::function<void()> giveUp);
    void release(const void* holder);

private:
    struct Holder
    {
        const void* identity = nullptr;
        std::function<void()> giveUp;
    };

    QMutex m_lock;
    QHash<QString, Holder> m_holders;
};
