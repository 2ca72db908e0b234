#include "emulation/securitykey/request_command.h"

#include "emulation/securitykey/request_server.h"
#include "runtime/local_peer.h"

#include <QJsonDocument>
#include <QLocalSocket>

#include <cstdio>
#include <optional>

namespace {

constexpr int kUsageError = 2;
constexpr int kConnectTimeoutMs = 5000;
constexpr int kAnswerTimeoutMs = 120000;

std::optional<QJsonObject> parseCommand(const QStringList& arguments)
{
    if (arguments.size() < 2 || arguments.size() % 2 != 0)
        return {};
    QJsonObject command{{QStringLiteral("operation"), arguments.at(1)}};
    static const QHash<QString, QString> kKeys{{QStringLiteral("--rp"), QStringLiteral("rp")},
                                               {QStringLiteral("--rp-name"), QStringLiteral("rpName")},
                                               {QStringLiteral("--user"), QStringLiteral("user")},
                                               {QStringLiteral("--display-name"), QStringLiteral("displayName")}};
    for (int option = 2; option < arguments.size(); option += 2) {
        const QString key = kKeys.value(arguments.at(option));
        if (key.isEmpty())
            return {};
        command.insert(key, arguments.at(option + 1));
    }
    return command;
}

} // namespace

int runRequestCommand(const QStringList& arguments)
{
    const std::optional<QJsonObject> command = parseCommand(arguments);
    if (!command) {
        std::fputs("usage: usb-daemon.exe --request PID OPERATION [--rp ID] [--rp-name NAME] [--user NAME]"
                   " [--display-name NAME]\n",
                   stderr);
        return kUsageError;
    }
    QLocalSocket device;
    const qint64 processId = arguments.first().toLongLong();
    const QString name = ctap::RequestServer::name(processId);
    device.connectToServer(name);
    if (!device.waitForConnected(kConnectTimeoutMs)) {
        std::fprintf(stderr, "usb-daemon: no security key runs as process %s\n", qUtf8Printable(arguments.first()));
        return 1;
    }
    const QString fault = faultOfServer(device.socketDescriptor(), name, processId);
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "usb-daemon: %s\n", qUtf8Printable(fault));
        return 1;
    }
    device.write(QJsonDocument(*command).toJson(QJsonDocument::Compact) + '\n');
    while (!device.canReadLine()) {
        if (!device.waitForReadyRead(kAnswerTimeoutMs)) {
            std::fputs("usb-daemon: no answer\n", stderr);
            return 1;
        }
    }
    const QByteArray answer = device.readLine();
    std::fputs(answer.constData(), stdout);
    return QJsonDocument::fromJson(answer).object().contains(QStringLiteral("error")) ? 1 : 0;
}
