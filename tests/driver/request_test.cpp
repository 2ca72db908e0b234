#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/platform/simulated_platform.h"
#include "tests/driver/captured_output.h"
#include "tests/driver/standard_system.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

using namespace driver;

/// What a real system is asked for, in this order: a simulated one would be content with other values.
class RequestTest : public QObject
{
    Q_OBJECT

private slots:
    void commands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("requests");
        const auto row = [](const char* name, const char* command, const char* requests) {
            QTest::newRow(name) << QString::fromLatin1(command) << QString::fromLatin1(requests);
        };
        row("present devices", "find =usb *", "classGuidsFromName 1|classDevices 2");
        row("devices that are not present too", "findall *", "classDevices 0");
        row("room for many classes", "classes", "buildClassList 128");
        row("devices of a class are present ones", "listclass usb", "classGuidsFromName 16|classDevices 2");
        row("enabled everywhere, then here", "enable @ROOT\\SYSTEM\\0000",
            "setStateChange 1 1|callClassInstaller 18|setStateChange 1 2|callClassInstaller 18");
        row("disabled here", "disable @ROOT\\SYSTEM\\0000", "setStateChange 2 2|callClassInstaller 18");
        row("restarted here", "restart @ROOT\\SYSTEM\\0000", "setStateChange 3 2|callClassInstaller 18");
        row("removed everywhere", "remove @ROOT\\SYSTEM\\0000", "setRemoval 1|callClassInstaller 5");
        row("a restart of the system is not forced", "-r -f restart @ROOT\\SLOW\\0000",
            "setStateChange 3 2|callClassInstaller 18|lookupPrivilege SeShutdownPrivilege|"
            "requestShutdown 0 0 1 2147549186");
        row("a new device has one id", "install {data}/inf/other.inf ROOT\\CAMERA",
            "createDevice Camera|setDeviceProperty type 7 26 bytes|callClassInstaller 25|loadLibrary newdev.dll|"
            "findProcedure UpdateDriverForPlugAndPlayDevicesW|updateDriver ROOT\\CAMERA 1");
        row("an update always replaces a better driver", "update {data}/inf/other.inf ROOT\\SLOW",
            "loadLibrary newdev.dll|findProcedure UpdateDriverForPlugAndPlayDevicesW|updateDriver ROOT\\SLOW 1");
        row("quiet while it updates, then as before", "-f updateni {data}/inf/other.inf ROOT\\SLOW",
            "loadLibrary setupapi.dll|findProcedure SetupSetNonInteractiveMode|setNonInteractiveMode 1|"
            "loadLibrary newdev.dll|findProcedure UpdateDriverForPlugAndPlayDevicesW|updateDriver ROOT\\SLOW 1|"
            "setNonInteractiveMode 0");
        row("only the file's name is deleted", "dp_delete elsewhere/oem1.inf",
            "loadLibrary setupapi.dll|findProcedure SetupUninstallOEMInfW|uninstallOemInf oem1.inf 0");
        row("deleting by force", "-f dp_delete oem1.inf",
            "loadLibrary setupapi.dll|findProcedure SetupUninstallOEMInfW|uninstallOemInf oem1.inf 1");
        row("showing filters only reads", "classfilter system upper", "classGuidsFromName 1|openClassKey 131097");
        row("editing filters writes", "classfilter system upper =", "classGuidsFromName 1|openClassKey 131103");
        row("an empty list of ids is no property", "sethwid @ROOT\\SLOW\\0000 := !ROOT\\SLOW",
            "setDeviceProperty type 0 0 bytes");
    }

    void commands()
    {
        QFETCH(QString, command);
        QFETCH(QString, requests);
        SimulatedPlatform platform(standardTree());
        CapturedOutput output;
        const QStringList made =
            requestsOf(platform, [&] { DriverEngine(platform, output).run(argumentsOf(command)); });
        QCOMPARE(made.join(QLatin1Char('|')), requests);
    }

    void interfaces()
    {
        SimulatedPlatform platform(DeviceTree::fresh());
        QCOMPARE(requestsOf(platform, [&] { devicePaths(platform, kHostControllerInterface); }),
                 QStringList{QStringLiteral("interfaceDevices {4D10A44F-446C-4481-B354-4F04E6C69812} 18")});
    }

    /// Installing quietly where it is quiet already leaves it so.
    void quietBefore()
    {
        SimulatedPlatform platform(standardTree());
        const auto library = platform.loadLibrary(L"setupapi.dll");
        const auto procedure = (*library)->find("SetupSetNonInteractiveMode");
        QCOMPARE((*library)->setNonInteractiveMode(*procedure, true), false);
        CapturedOutput output;
        DriverEngine(platform, output).run(argumentsOf(QStringLiteral("updateni {data}/inf/other.inf ROOT\\SLOW")));
        QCOMPARE((*library)->setNonInteractiveMode(*procedure, true), true);
    }

private:
    /// The calls that were asked for something in particular, in order.
    template<class Action>
    static QStringList requestsOf(SimulatedPlatform& platform, Action action)
    {
        QStringList requests;
        platform.setHook([&](const char* call, const std::wstring& request) -> ErrorCode {
            if (!request.empty())
                requests << QString::fromLatin1(call) + QLatin1Char(' ') + QString::fromStdWString(request);
            return 0;
        });
        action();
        platform.setHook({});
        return requests;
    }
};

PLUGBOARD_SUITE(RequestTest)
#include "request_test.moc"
