#include "dialogs/settings/network_source.h"

#include <QCoreApplication>

QString defaultLanAddress()
{
    return QStringLiteral(DEFAULT_LAN_ADDRESS);
}

QString NetworkSource::url(const QString& path) const
{
    return QStringLiteral("http://%1:%2/%3").arg(address, port, path);
}

QString incompleteNetworkText()
{
    return QCoreApplication::translate("NetworkSource", "Please enter IP address and port");
}
