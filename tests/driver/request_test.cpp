#include "driver/device_interfaces.h"
#include "driver/engine.h"
#include "driver/platform/simulated_platform.h"
#include "tests/driver/captured_output.h"
#include "tests/driver/failing_platform.h"
#include "tests/driver/standard_system.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

using namespace driver;

namespace {

/// Writes down what a simulated system takes as it comes: flags, scopes, rights, names, sizes.
class RecordingPlatform final : public FailingPlatform
{
public:
    RecordingPlatform(DevicePlatform& inner, bool quiet) : FailingPlatform(inner, 0), m_quiet(quiet) {}

    QStringList requests;

    GuidBatch classGuidsFromName(const std::wstring& name, std::uint32_t capacity, const MachineName& machine) override
    {
        note(QStringLiteral("guids %1").arg(capacity));
        return FailingPlatform::classGuidsFromName(name, capacity, machine);
    }

    GuidBatch buildClassList(std::uint32_t capacity, const MachineName& machine) override
    {
        note(QStringLiteral("classes %1").arg(capacity));
        return FailingPlatform::buildClassList(capacity, machine);
    }

    Opened<RegistryKey> openClassKey(const Guid& guid, std::uint32_t access, const MachineName& machine) override
    {
        note(QStringLiteral("key 0x%1").arg(access, 0, 16));
        return FailingPlatform::openClassKey(guid, access, machine);
    }

    Opened<DeviceList> classDevices(const std::optional<Guid>& setupClass, std::uint32_t flags,
                                    const MachineName& machine) override
    {
        note(QStringLiteral("devices %1").arg(flags));
        return FailingPlatform::classDevices(setupClass, flags, machine);
    }

    Opened<DeviceList> interfaceDevices(const Guid& interfaceClass, std::uint32_t flags) override
    {
        note(QString::fromStdWString(guidText(interfaceClass)) + QStringLiteral(" 0x%1").arg(flags, 0, 16));
        return FailingPlatform::interfaceDevices(interfaceClass, flags);
    }

    Outcome<DeviceIndex> createDevice(DeviceList& list, const std::wstring& className, const Guid& setupClass) override
    {
        note(QStringLiteral("create ") + QString::fromStdWString(className));
        return FailingPlatform::createDevice(list, className, setupClass);
    }

    Status setDeviceProperty(DeviceList& list, DeviceIndex device, DeviceProperty property,
                             const std::optional<RegistryData>& data) override
    {
        note(data ? QStringLiteral("type %1, %2 bytes").arg(data->type).arg(data->bytes.size())
                  : QStringLiteral("no property"));
        return FailingPlatform::setDeviceProperty(list, device, property, data);
    }

    Status setStateChange(DeviceList& list, DeviceIndex device, StateChange change, std::uint32_t scope) override
    {
        note(QStringLiteral("change %1 scope %2").arg(static_cast<int>(change)).arg(scope));
        return FailingPlatform::setStateChange(list, device, change, scope);
    }

    Status setRemoval(DeviceList& list, DeviceIndex device, std::uint32_t scope) override
    {
        note(QStringLiteral("removal scope %1").arg(scope));
        return FailingPlatform::setRemoval(list, device, scope);
    }

    Status callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex device) override
    {
        note(QStringLiteral("installer %1").arg(static_cast<int>(function)));
        return FailingPlatform::callClassInstaller(function, list, device);
    }

    Opened<LoadedLibrary> loadLibrary(const std::wstring& name) override
    {
        note(QString::fromStdWString(name));
        return FailingPlatform::loadLibrary(name);
    }

    Outcome<Procedure> findProcedure(LoadedLibrary& library, const char* name) override
    {
        note(QString::fromLatin1(name));
        return FailingPlatform::findProcedure(library, name);
    }

    Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                               std::uint32_t flags) override
    {
        note(QStringLiteral("update %1 flags %2").arg(QString::fromStdWString(hardwareId)).arg(flags));
        return FailingPlatform::updateDriver(procedure, hardwareId, infPath, flags);
    }

    bool setNonInteractiveMode(Procedure, bool on) override
    {
        note(QStringLiteral("quiet %1").arg(on));
        return std::exchange(m_quiet, on);
    }

    Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) override
    {
        note(QStringLiteral("uninstall %1 flags %2").arg(QString::fromStdWString(fileName)).arg(flags));
        return FailingPlatform::uninstallOemInf(procedure, fileName, flags);
    }

    Outcome<PrivilegeId> lookupPrivilege(const std::wstring& name) override
    {
        note(QString::fromStdWString(name));
        return FailingPlatform::lookupPrivilege(name);
    }

    Status requestShutdown(const ShutdownRequest& request) override
    {
        note(QStringLiteral("shutdown after %1, forced %2, reboot %3, reason 0x%4")
                 .arg(request.timeoutSeconds)
                 .arg(request.forceApplicationsClosed)
                 .arg(request.reboot)
                 .arg(request.reason, 0, 16));
        return FailingPlatform::requestShutdown(request);
    }

private:
    void note(const QString& request) { requests << request; }

    bool m_quiet;
};

} // namespace

/// What a real system is asked for, in this order: a simulated one would be content with other values.
class RequestTest : public QObject
{
    Q_OBJECT

private slots:
    void commands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("quietBefore");
        QTest::addColumn<QString>("requests");
        const auto row = [](const char* name, const char* command, const char* requests, bool quietBefore = false) {
            QTest::newRow(name) << QString::fromLatin1(command) << quietBefore << QString::fromLatin1(requests);
        };
        row("present devices", "find =usb *", "guids 1|devices 2");
        row("devices that are not present too", "findall *", "devices 0");
        row("room for many classes", "classes", "classes 128");
        row("devices of a class are present ones", "listclass usb", "guids 16|devices 2");
        row("enabled everywhere, then here", "enable @ROOT\\SYSTEM\\0000",
            "change 1 scope 1|installer 18|change 1 scope 2|installer 18");
        row("disabled here", "disable @ROOT\\SYSTEM\\0000", "change 2 scope 2|installer 18");
        row("restarted here", "restart @ROOT\\SYSTEM\\0000", "change 3 scope 2|installer 18");
        row("removed everywhere", "remove @ROOT\\SYSTEM\\0000", "removal scope 1|installer 5");
        row("a restart of the system is not forced", "-r -f restart @ROOT\\SLOW\\0000",
            "change 3 scope 2|installer 18|SeShutdownPrivilege|"
            "shutdown after 0, forced 0, reboot 1, reason 0x80010002");
        row("a new device has one id", "install {data}/inf/other.inf ROOT\\CAMERA",
            "create Camera|type 7, 26 bytes|installer 25|newdev.dll|UpdateDriverForPlugAndPlayDevicesW|"
            "update ROOT\\CAMERA flags 1");
        row("an update always replaces a better driver", "update {data}/inf/other.inf ROOT\\SLOW",
            "newdev.dll|UpdateDriverForPlugAndPlayDevicesW|update ROOT\\SLOW flags 1");
        row("quiet while it updates", "-f updateni {data}/inf/other.inf ROOT\\SLOW",
            "setupapi.dll|SetupSetNonInteractiveMode|quiet 1|newdev.dll|UpdateDriverForPlugAndPlayDevicesW|"
            "update ROOT\\SLOW flags 1|quiet 0");
        row("as quiet as before", "updateni {data}/inf/other.inf ROOT\\SLOW",
            "setupapi.dll|SetupSetNonInteractiveMode|quiet 1|newdev.dll|UpdateDriverForPlugAndPlayDevicesW|"
            "update ROOT\\SLOW flags 1|quiet 1",
            true);
        row("only the file's name is deleted", "dp_delete elsewhere/oem1.inf",
            "setupapi.dll|SetupUninstallOEMInfW|uninstall oem1.inf flags 0");
        row("deleting by force", "-f dp_delete oem1.inf",
            "setupapi.dll|SetupUninstallOEMInfW|uninstall oem1.inf flags 1");
        row("showing filters only reads", "classfilter system upper", "guids 1|key 0x20019");
        row("editing filters writes", "classfilter system upper =", "guids 1|key 0x2001f");
        row("an empty list of ids is no property", "sethwid @ROOT\\SLOW\\0000 := !ROOT\\SLOW", "no property");
    }

    void commands()
    {
        QFETCH(QString, command);
        QFETCH(bool, quietBefore);
        QFETCH(QString, requests);
        SimulatedPlatform simulated(standardTree());
        RecordingPlatform platform(simulated, quietBefore);
        CapturedOutput output;
        DriverEngine(platform, output).run(argumentsOf(command));
        QCOMPARE(platform.requests.join(QLatin1Char('|')), requests);
    }

    void interfaces()
    {
        SimulatedPlatform simulated(DeviceTree::fresh());
        RecordingPlatform platform(simulated, false);
        devicePaths(platform, kHostControllerInterface);
        QCOMPARE(platform.requests, QStringList{QStringLiteral("{4D10A44F-446C-4481-B354-4F04E6C69812} 0x12")});
    }
};

PLUGBOARD_SUITE(RequestTest)
#include "request_test.moc"
