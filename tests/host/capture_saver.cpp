// capture-saver PID FILE: saves the packets of a device process as pcapng until the process ends.
#include "capture/channel/capture_client.h"
#include "capture/file/pcapng_writer.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: capture-saver PID FILE\n", stderr);
        return 2;
    }
    QFile file(arguments.at(2));
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    PcapngWriter writer(file);
    UsbIPCaptureClient client;
    bool whole = true;
    QObject::connect(&client, &UsbIPCaptureClient::connected, &client, &UsbIPCaptureClient::startCapture);
    QObject::connect(&client, &UsbIPCaptureClient::captureStarted, &client, [] {
        std::puts("capturing");
        std::fflush(stdout);
    });
    QObject::connect(&client, &UsbIPCaptureClient::packetCaptured, &client,
                     [&](uint32_t, const UsbIPPacketInfo& packet) { whole = writer.add(packet) && whole; });
    QObject::connect(
        &client, &UsbIPCaptureClient::disconnected, &application,
        [&] { QCoreApplication::exit(writer.flush() && file.flush() && whole ? 0 : 1); }, Qt::QueuedConnection);
    client.setServerName(UsbIPCaptureClient::serverNameOf(arguments.at(1).toLongLong()));
    client.connectToServer();
    return QCoreApplication::exec();
}
