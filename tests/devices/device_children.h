// device_children.h: the reports of launched test children, and their end.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <vector>

/// One test's children: a folder for their reports, handed to them through the environment. Ends those that still run.
class DeviceChildren
{
public:
    /// `task` as device_child.cpp lists them; empty for a child that just reads.
    explicit DeviceChildren(const QByteArray& task = {});
    ~DeviceChildren();

    /// Puts a child on the list of those to end.
    void add(qint64 processId) { m_ids.push_back(processId); }

    bool hasReport(qint64 processId, const char* kind) const;
    QByteArray report(qint64 processId, const char* kind) const;

    /// Waits without turning the event loop.
    bool waitForReport(qint64 processId, const char* kind) const;

    /// A folder of their own with no device process in it.
    QString emptyFolder() const { return m_folder.path(); }

private:
    QString path(qint64 processId, const char* kind) const;

    QTemporaryDir m_folder;
    std::vector<qint64> m_ids;
};
