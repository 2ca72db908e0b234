#include "tools/usb_daemon/usb_daemon.h"

#include "tools/usb_daemon/message_decoder.h"
#include "tools/usb_daemon/parameter_list_parser.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>

using namespace std::chrono_literals;

namespace {

constexpr auto kMessageTimeout = 2s;

Outcome<DeviceDescription> readDevice(const QByteArray& message)
{
    const auto key = readDeviceKey();
    if (!key)
        return Fault{key.fault()};
    const auto text = decodeMessage(message, key.value());
    if (!text)
        return Fault{text.fault()};
    return parseParameterList(splitParameterText(text.value()));
}

} // namespace

UsbDaemon::UsbDaemon()
{
    m_messageTimeout.setSingleShot(true);
    connect(&m_messageTimeout, &QTimer::timeout, this, [this] { become(mouseDescription()); });
    m_messageTimeout.start(kMessageTimeout);
    readFirstLine(kLongestMessage, [this](InputLine kind, const QByteArray& message) { takeMessage(kind, message); });
}

void UsbDaemon::takeMessage(InputLine kind, const QByteArray& message)
{
    if (!m_messageTimeout.isActive())
        return;
    m_messageTimeout.stop();
    if (kind == InputLine::TooLong)
        return fail(QStringLiteral("The message is longer than %1 bytes.").arg(kLongestMessage));
    const auto device = readDevice(message);
    if (device)
        become(device.value());
    else
        fail(device.fault());
}

void UsbDaemon::become(const DeviceDescription& device)
{
    m_services =
        makeDeviceServices({device, QCoreApplication::applicationPid(), QCoreApplication::applicationDirPath()});
    for (const auto& service : m_services) {
        const QString fault = service->start();
        if (!fault.isEmpty())
            return fail(fault);
    }
}

void UsbDaemon::fail(const QString& sentence)
{
    std::fprintf(stderr, "usb-daemon: %s\n", qUtf8Printable(sentence));
    m_services.clear();
    QCoreApplication::exit(1);
}
