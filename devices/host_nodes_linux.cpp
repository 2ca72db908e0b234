#include "devices/host_nodes.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

const QString kDevices = QStringLiteral("/sys/bus/usb/devices/");

/// The value of "DEVNAME=" in what the kernel says of a device; empty for one without a node.
QByteArray nodeIn(const QString& ueventFile)
{
    QFile file(ueventFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray key = QByteArrayLiteral("DEVNAME=");
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size());
    }
    return {};
}

} // namespace

QStringList hostNodes(const QString& busId)
{
    static const QRegularExpression place(QStringLiteral("\\A[0-9]+-[0-9]+(\\.[0-9]+)*\\z")); // from a file
    if (!place.match(busId).hasMatch())
        return {};
    QStringList nodes;
    QDirIterator files(QFileInfo(kDevices + busId).canonicalFilePath(), {QStringLiteral("uevent")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QByteArray node = nodeIn(files.next());
        if (!node.isEmpty() && !node.startsWith("bus/"))
            nodes << QStringLiteral("/dev/") + QString::fromLocal8Bit(node);
    }
    nodes.sort();
    return nodes;
}
