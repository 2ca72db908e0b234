#include "devices/host_nodes.h"

#include <QFile>
#include <QRegularExpression>

#include <filesystem>
#include <system_error>

namespace {

const QString kDevices = QStringLiteral("/sys/bus/usb/devices/");

/// The value of "DEVNAME=" in what the kernel says of a device; empty for one without a node.
QByteArray nodeIn(const char* ueventFile)
{
    QFile file(QString::fromLocal8Bit(ueventFile));
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
    std::error_code fault; // a device may go while it is looked at
    const std::filesystem::path root = std::filesystem::canonical((kDevices + busId).toStdString(), fault);
    std::filesystem::recursive_directory_iterator file(root, fault);
    for (const std::filesystem::recursive_directory_iterator end; !fault && file != end; file.increment(fault)) {
        const QByteArray node = file->path().filename() == "uevent" ? nodeIn(file->path().c_str()) : QByteArray();
        if (!node.isEmpty() && !node.startsWith("bus/"))
            nodes << QStringLiteral("/dev/") + QString::fromLocal8Bit(node);
    }
    nodes.sort();
    return nodes;
}
