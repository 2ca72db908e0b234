#include "emulation/process/usb_daemon.h"

#include "devices/parameter_list.h"
#include "emulation/message/message_decoder.h"
#include "emulation/message/parameter_list_parser.h"

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
    return parseParameterList(splitParameters(text.value()));
}

} // namespace

UsbDaemon::UsbDaemon()
{
    readFirstLine(kLongestMessage, QDeadlineTimer(kMessageTimeout),
                  [this](InputLine kind, const QByteArray& message) { takeMessage(kind, message); });
}

void UsbDaemon::takeMessage(InputLine kind, const QByteArray& message)
{
    if (kind == InputLine::Missing)
        return become(mouseDescription());
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
    m_device = std::make_unique<RunningDevice>(
        DeviceContext{device, QCoreApplication::applicationPid(), QCoreApplication::applicationDirPath()});
    const QString fault = m_device->start();
    if (!fault.isEmpty())
        fail(fault);
}

void UsbDaemon::fail(const QString& sentence)
{
    std::fprintf(stderr, "usb-daemon: %s\n", qUtf8Printable(sentence));
    m_device.reset();
    QCoreApplication::exit(1);
}
