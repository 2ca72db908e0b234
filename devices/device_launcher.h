// device_launcher.h: starts device processes and hands each its encrypted parameters.
#pragma once

#include "devices/device_end.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

/// Starts "usb-daemon.exe" of the application directory with "--mode" "Local". GUI thread only; blocks up to 30 s for
/// the start. The process objects are kept for ever and never destroyed: destroying one would end its device, and
/// devices outlive the program. One whose process has ended holds no descriptor and about 1.9 KB (measured on Linux
/// with Qt 5.15.8 over 1,000 launches). When a process ends while this program runs, the log tells its id, its exit
/// code and the last line that it printed to its standard error.
class DeviceLauncher
{
public:
    DeviceLauncher();

    /// Folder of the device process, for tests.
    explicit DeviceLauncher(const QString& folder);

    /// Whether the device program is where it belongs.
    bool hasProgram() const;

    /// Called on the GUI thread when a device process that was launched has ended, maybe before the launch returns.
    using Ended = std::function<void(const DeviceEnd& end)>;

    /// Starts a device process and writes the parameter message to its standard input, which stays open. The process
    /// id; nothing when it did not start. A bad key or a failed encryption is not an error here: the log tells of it,
    /// and the message is a lone line feed, which the device process rejects.
    std::optional<qint64> launch(const QString& joinedParameters, const Ended& ended = {}) const;

    /// Starts a device process and closes its input without a message; 0 when it did not start.
    qint64 launchBare(const Ended& ended = {}) const;

private:
    QString m_program;
};

/// The variable of its environment by which a device process learns to which lab it belongs.
constexpr const char* kLabVariable = "PLUGBOARD_LAB";

/// File name of the program that every device process runs.
QString deviceProgramName();

/// What a device process is handed, and why it holds nothing.
struct ParameterMessage
{
    QByteArray bytes; ///< the base64 text of the encrypted parameters and one line feed
    QString error;    ///< the encryptor's; empty when all went well
};

/// Made with the PEM key.
ParameterMessage parameterMessage(const QString& joinedParameters, const QByteArray& publicKeyPem);
