// scripted_function.h: a USB function that notes what reaches it and completes transfers when a test says so.
#pragma once

#include "emulation/function/device_function.h"

#include <QStringList>

/// One interface with two settings: 0 has a bulk pair, 0x81 and 0x02; 1 has an isochronous endpoint 0x83 besides.
inline usb::DeviceDescriptors scriptedDescriptors(usb::Speed speed = usb::Speed::High)
{
    const bool isSuper = speed == usb::Speed::Super;
    const auto endpoint = [&](std::uint8_t address, usb::TransferType type) {
        usb::Endpoint made;
        made.bEndpointAddress = address;
        made.type = type;
        const bool isBulk = type == usb::TransferType::Bulk;
        made.maxPacketSize = isBulk && !isSuper ? 512 : 1024;
        made.bInterval = isBulk ? 0 : 1;
        if (isSuper)
            made.companion = usb::EndpointCompanion{0, 0, static_cast<std::uint16_t>(isBulk ? 0 : 1024)};
        return made;
    };
    usb::AlternateSetting first;
    first.bInterfaceClass = 0xFF;
    first.name = QStringLiteral("Wires");
    first.endpoints = {endpoint(0x81, usb::TransferType::Bulk), endpoint(0x02, usb::TransferType::Bulk)};
    usb::AlternateSetting second = first;
    second.bAlternateSetting = 1;
    second.endpoints.push_back(endpoint(0x83, usb::TransferType::Isochronous));
    usb::DeviceDescriptors device;
    device.speed = speed;
    device.bcdUSB = isSuper ? 0x0300 : 0x0200;
    device.idVendor = 0x1D6B;
    device.idProduct = 0x0002;
    device.manufacturer = QStringLiteral("Plugboard");
    device.product = QStringLiteral("Gerät");
    device.configuration.maxPower = isSuper ? 96 : 100;
    device.configuration.interfaces = {{0, {first, second}}};
    return device;
}

/// Keeps data transfers until a test completes them. A class request is answered with "class", or taken; request 0xEE
/// is refused.
class ScriptedFunction : public DeviceFunction
{
public:
    explicit ScriptedFunction(usb::DeviceDescriptors descriptors = scriptedDescriptors())
        : m_descriptors(std::move(descriptors))
    {}

    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }

    void controlRequest(const usb::TransferPointer& transfer) override
    {
        const usb::SetupPacket& setup = transfer->request().setup;
        log << QStringLiteral("request %1").arg(setup.bRequest);
        if (setup.bRequest == 0xEE)
            transfer->complete(usb::Status::Stall);
        else if (setup.isIn())
            transfer->completeIn("class");
        else
            transfer->complete();
    }

    void submit(const usb::TransferPointer& transfer) override
    {
        log << QStringLiteral("submit %1").arg(transfer->endpointAddress(), 2, 16, QLatin1Char('0'));
        waiting.push_back(transfer);
    }

    void cancelled(const usb::Transfer& transfer) override
    {
        log << QStringLiteral("cancelled %1").arg(transfer.endpointAddress(), 2, 16, QLatin1Char('0'));
    }

    void configurationSelected(std::uint8_t value) override { log << QStringLiteral("configuration %1").arg(value); }

    void alternateSelected(std::uint8_t number, std::uint8_t alternate) override
    {
        log << QStringLiteral("alternate %1:%2").arg(number).arg(alternate);
    }

    void haltCleared(std::uint8_t address) override
    {
        log << QStringLiteral("cleared %1").arg(address, 2, 16, QLatin1Char('0'));
    }

    void reset() override { log << QStringLiteral("reset"); }

    QString run(const QString& command) override { return commandFailed(QStringLiteral("no command ") + command); }
    QString status() const override { return QStringLiteral("%1 waiting").arg(waiting.size()); }

    QStringList log;
    std::vector<usb::TransferPointer> waiting;

private:
    usb::DeviceDescriptors m_descriptors;
};
