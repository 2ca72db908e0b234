// fido2_environment.h: where the files of security keys lie, how they are named, and what time it is.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>

class QRandomGenerator;

/// Dialogs take one as a trailing defaulted constructor argument; tests hand in a folder and a time of their own.
struct Fido2Environment
{
    /// The folder of the running program and the system's local time.
    static Fido2Environment ofThisProgram();

    /// Forward slashes, no slash at the end.
    QString applicationDirectory;
    std::function<QDateTime()> now;

    /// The folder of all credentials files, "APPLICATION/fido2".
    QString directory() const;

    /// "APPLICATION/fido2/SERIAL_credentials.json" with the trimmed serial number.
    QString credentialsPath(const QString& serialNumber) const;

    /// Names (no paths) of the credentials files in directory(), sorted.
    QStringList credentialsFileNames() const;

    /// Local time as it stands in files, "yyyy-MM-dd hh:mm:ss".
    QString timeText() const;

    /// "FIDO2_yyyyMMddhhmmss_N" with the local time and N from 1000 to 9998.
    QString newSerialNumber() const;
};

/// The same from a time and a source of random numbers of the caller's.
QString makeSerialNumber(const QDateTime& time, QRandomGenerator& random);
