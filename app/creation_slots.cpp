#include "app/creation_slots.h"

#include "devices/parameter_list.h"

#include <QMetaObject>
#include <QTimer>

#include <functional>

namespace {

void invoke(QObject* window, const CreationRequest& request)
{
    if (request.parameters.isEmpty()) {
        QMetaObject::invokeMethod(window, creationSlot(request.type).constData(), Qt::DirectConnection);
        return;
    }
    const std::function<void(qint64)> nothingMore = [](qint64) {};
    QMetaObject::invokeMethod(
        window, "CallUsbDaemon", Qt::DirectConnection, Q_ARG(QString, deviceTypeWord(request.type)),
        Q_ARG(QString, joinParameters(request.parameters)), Q_ARG(std::function<void(qint64)>, nothingMore));
}

} // namespace

QByteArray creationSlot(DeviceType type)
{
    switch (type) {
    case DeviceType::Camera:
        return "onCreateCamera";
    case DeviceType::Fido2:
        return "onCreateFido2";
    case DeviceType::Mouse:
        return "onCreateMouse";
    case DeviceType::Keyboard:
        return "onCreateKeyboard";
    case DeviceType::UsbIp:
        return "onCreateUsbIp";
    case DeviceType::Storage:
        return "onCreateUsbStorage";
    case DeviceType::Microphone:
        return "onCreateMicrophone";
    case DeviceType::Speaker:
        return "onCreateSpeaker";
    }
    return {};
}

void invokeCreationSlots(QObject* window, std::vector<CreationRequest> requests)
{
    if (requests.empty())
        return;
    QTimer::singleShot(0, window, [window, requests = std::move(requests)]() mutable {
        invoke(window, requests.front());
        requests.erase(requests.begin());
        invokeCreationSlots(window, std::move(requests));
    });
}
