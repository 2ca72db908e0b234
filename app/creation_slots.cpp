#include "app/creation_slots.h"

#include <QMetaObject>
#include <QTimer>

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

void invokeCreationSlots(QObject* window, std::vector<DeviceType> types)
{
    if (types.empty())
        return;
    QTimer::singleShot(0, window, [window, types = std::move(types)]() mutable {
        QMetaObject::invokeMethod(window, creationSlot(types.front()).constData(), Qt::DirectConnection);
        types.erase(types.begin());
        invokeCreationSlots(window, std::move(types));
    });
}
