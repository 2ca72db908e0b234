#include "devices/openssl_handles.h"
#include "emulation/process/usb_daemon.h"
#include "emulation/securitykey/request_command.h"
#include "runtime/program_run.h"
#include "runtime/stop_request.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int kUsageError = 2;

int runDevice(QCoreApplication& application)
{
    StopRequest stopRequest; // before the log's crash handling, and before any thread
    const ProgramRun running(QStringLiteral("usb-daemon"), QStringLiteral(PLUGBOARD_VERSION), {});
    QObject::connect(&stopRequest, &StopRequest::stopRequested, &application, &QCoreApplication::quit);
    UsbDaemon daemon;
    return application.exec();
}

int printUsage()
{
    std::fputs(
        "usage: usb-daemon.exe --mode Local\n"
        "       usb-daemon.exe --request PID OPERATION [--rp ID] ...\n"
        "Reads one parameter message from standard input and runs the device that it describes, or a mouse when\n"
        "none comes within two seconds. PLUGBOARD_DEVICE_KEY may name the PEM file of the private key.\n"
        "With --request, makes the security key of that process ask its user, and prints the answer.\n",
        stderr);
    return kUsageError;
}

} // namespace

int main(int argc, char** argv)
{
    openssl::initialise();
    qputenv("QT_NO_GLIB", "1"); // Qt's own event loop answers a host in two thirds of the time
    QCoreApplication application(argc, argv);
    if (application.arguments().mid(1) == QStringList{QStringLiteral("--mode"), QStringLiteral("Local")})
        return runDevice(application);
    if (application.arguments().value(1) == QStringLiteral("--request"))
        return runRequestCommand(application.arguments().mid(2));
    return printUsage();
}
