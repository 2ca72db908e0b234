// fido2_service.h: what a device process does as a security key.
#pragma once

#include "tools/usb_daemon/device_service.h"
#include "tools/usb_daemon/fido2_server.h"
#include "tools/usb_daemon/key_store.h"

#include <QLocalServer>
#include <QObject>

/// Makes the key's files, serves the confirmation channel, and asks for what a control command wants (see
/// request_command.h) through the local server "Fido2Control_PID": one line of JSON each way, a connection for each.
class Fido2Service final : public QObject, public DeviceService
{
    Q_OBJECT

public:
    explicit Fido2Service(const DeviceContext& context);

    QString start() override;

private:
    void takeCommand();
    void runCommand(QLocalSocket* caller, const QJsonObject& command);
    QJsonObject requestData(const QString& operation, const QJsonObject& command) const;
    void report(QLocalSocket* caller, const QJsonObject& command, bool confirmed, QJsonObject result) const;

    KeyStore m_store;
    Fido2Server m_channel;
    QLocalServer m_control;
    QString m_controlName;
};

/// Name of the control server of that process.
QString fido2ControlName(qint64 processId);
