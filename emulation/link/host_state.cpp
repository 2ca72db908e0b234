#include "emulation/link/host_state.h"

namespace {

QString wayWord(HostState::Way way)
{
    switch (way) {
    case HostState::Way::Kernel:
        return QStringLiteral("kernel");
    case HostState::Way::Server:
        return QStringLiteral("server");
    case HostState::Way::None:
        break;
    }
    return QStringLiteral("none");
}

} // namespace

QJsonObject HostState::toJson() const
{
    QJsonObject object{{QStringLiteral("way"), wayWord(way)},
                       {QStringLiteral("attached"), isAttached},
                       {QStringLiteral("configured"), isConfigured}};
    if (!address.isEmpty())
        object.insert(QStringLiteral("address"), address);
    if (port >= 0)
        object.insert(QStringLiteral("port"), port);
    if (!busId.isEmpty())
        object.insert(QStringLiteral("busId"), busId);
    if (!note.isEmpty())
        object.insert(QStringLiteral("note"), note);
    return object;
}

QString HostState::text() const
{
    QString line;
    switch (way) {
    case Way::Kernel:
        line = QStringLiteral("kernel port %1").arg(port);
        break;
    case Way::Server:
        line = QStringLiteral("server %1:%2").arg(address).arg(port);
        break;
    case Way::None:
        line = QStringLiteral("no host");
        break;
    }
    if (!busId.isEmpty())
        line += QStringLiteral(", bus id ") + busId;
    if (way != Way::None)
        line += isConfigured ? QStringLiteral(", configured")
                : isAttached ? QStringLiteral(", attached")
                             : QStringLiteral(", not attached");
    return note.isEmpty() ? line : line + QStringLiteral(" (%1)").arg(note);
}
