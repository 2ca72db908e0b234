// attach_helper_linux.h: the program that attaches a device with an administrator's rights, asked for through polkit.
#pragma once

#include <QProcess>

#include <cstdint>
#include <functional>

/// Runs `plugboard-attach` as its own polkit action, with the socket as its standard input. The user may be asked for a
/// password meanwhile. Destroying it before it has ended gives up.
class AttachHelper : public QProcess
{
    Q_OBJECT

public:
    /// The port, or -1 with the reason. Called from the event loop; the helper may be deleted later by it, and not at
    /// once.
    using Ended = std::function<void(int port, const QString& reason)>;

    /// Copies `socket`; the caller closes its own.
    AttachHelper(int socket, std::uint32_t deviceId, int speed, Ended ended);
    ~AttachHelper() override;

    /// Whether the package has put it where polkit's policy names it. Only then may it be run: no one is asked for a
    /// password on behalf of a program in a build folder.
    static bool isInstalled();

protected:
    void setupChildProcess() override;

private:
    void finish(int code, ExitStatus status);
    void report(int port, const QString& reason);

    int m_socket;
    Ended m_ended;
};
