#include "emulation/link/own_server.h"

#include <QCryptographicHash>
#include <QSysInfo>

namespace {

/// The ids themselves are nobody else's business. A guest that shares this machine's files has a boot of its own.
QString machineMark()
{
    const QByteArray ids = QSysInfo::machineUniqueId() + '/' + QSysInfo::bootUniqueId();
    return QString::fromLatin1(QCryptographicHash::hash(ids, QCryptographicHash::Sha256).toHex().left(32));
}

} // namespace

QString ownServerPath()
{
    return QStringLiteral("/plugboard/%1/1-1").arg(machineMark());
}

bool isOwnServerPath(const QString& path)
{
    return path == ownServerPath();
}
