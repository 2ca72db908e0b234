#include "capture/channel/capture_command.h"

#include <QJsonDocument>
#include <QtEndian>

#include <array>
#include <optional>

namespace {

struct CommandType
{
    const char* name;
    char type;
};

constexpr std::array<CommandType, 6> kCommands{{
    {"start_capture", 10},
    {"stop_capture", 11},
    {"clear_capture", 12},
    {"get_stats", 13},
    {"get_packets", 14},
    {"get_device_config", 15},
}};

std::optional<char> commandType(const QString& name)
{
    for (const CommandType& command : kCommands) {
        if (name == QLatin1String(command.name))
            return command.type;
    }
    return std::nullopt;
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

QByteArray captureCommandBytes(const QString& name, const QJsonObject& data, qint64 timestamp)
{
    QJsonObject message{{QStringLiteral("timestamp"), timestamp}, {QStringLiteral("data"), data}};
    const std::optional<char> type = commandType(name);
    if (!type) {
        message.insert(QStringLiteral("command"), name);
        return compact(message) + '\n';
    }
    const QByteArray payload = compact(message);
    QByteArray frame(8, '\0');
    frame[0] = *type;
    qToLittleEndian(static_cast<quint32>(payload.size()), frame.data() + 4);
    return frame + payload;
}
