// command_server.h: the commands to a running device.
#pragma once

#include "emulation/channels/device_service.h"

#include <QLocalServer>
#include <QObject>

#include <functional>
#include <set>

class QLocalSocket;

/// Serves the local server of deviceCommandServer() for the same user: a line of UTF-8 in, a line out, as often as the
/// client likes; the next line waits until the one before is answered. A line longer than 64 KiB ends the connection.
class CommandServer final : public QObject, public DeviceService
{
public:
    using Answer = std::function<void(const QString&)>;
    /// Answers one trimmed, filled line with one that begins with "OK: " or "ERROR: ", now or later, on this thread.
    using Run = std::function<void(const QString& command, const Answer& answer)>;

    CommandServer(qint64 processId, Run run);
    ~CommandServer() override;

    QString start() override;

private:
    void acceptClients();
    void readCommand(QLocalSocket& client);
    void answer(QLocalSocket& client, const QString& line);

    QString m_name;
    Run m_run;
    QLocalServer m_server;
    std::set<QLocalSocket*> m_waiting; // clients whose command is not answered
};
