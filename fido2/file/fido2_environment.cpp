#include "fido2/file/fido2_environment.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>

Fido2Environment Fido2Environment::ofThisProgram()
{
    return {QCoreApplication::applicationDirPath(), [] { return QDateTime::currentDateTime(); }};
}

QString Fido2Environment::directory() const
{
    return applicationDirectory + QStringLiteral("/fido2");
}

QString Fido2Environment::credentialsPath(const QString& serialNumber) const
{
    return directory() + QLatin1Char('/') + serialNumber.trimmed() + QStringLiteral("_credentials.json");
}

QStringList Fido2Environment::credentialsFileNames() const
{
    return QDir(directory()).entryList({QStringLiteral("*credentials.json")}, QDir::Files, QDir::Name);
}

QString Fido2Environment::timeText() const
{
    return now().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QString Fido2Environment::newSerialNumber() const
{
    return makeSerialNumber(now(), *QRandomGenerator::global());
}

QString makeSerialNumber(const QDateTime& time, QRandomGenerator& random)
{
    constexpr int kLowest = 1000;
    constexpr int kValues = 8999; // 9999 is never drawn
    return QStringLiteral("FIDO2_%1_%2")
        .arg(time.toString(QStringLiteral("yyyyMMddhhmmss")), QString::number(kLowest + random.bounded(kValues)));
}
