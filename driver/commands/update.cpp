#include "driver/commands/commands.h"

namespace driver {

namespace {

constexpr std::uint32_t kForceInstall = 1;

bool usableArguments(const CommandContext& context)
{
    return context.machine.empty() && context.arguments.size() == 2 && !context.arguments[0].empty() &&
           !context.arguments[1].empty();
}

/// The full path of the INF.
Outcome<std::wstring> infPath(const CommandContext& context)
{
    const FullPath path = context.platform.fullPath(context.arguments[0], limits::kPath);
    return path.length > 0 && path.length < limits::kPath ? Outcome<std::wstring>(path.path)
                                                          : Outcome<std::wstring>::failed(errors::kNameTooLong);
}

/// The same, of a file that exists.
Outcome<std::wstring> existingInf(const CommandContext& context)
{
    auto path = infPath(context);
    return path && !context.platform.fileExists(*path) ? Outcome<std::wstring>::failed(errors::kFileNotFound)
                                                       : std::move(path);
}

/// Whether a restart is needed.
Outcome<bool> updateWith(const CommandContext& context, const std::wstring& path)
{
    const std::wstring& hardwareId = context.arguments[1];
    const auto library = context.platform.loadLibrary(L"newdev.dll");
    if (!library)
        return Outcome<bool>::failed(library.error());
    const auto procedure = context.platform.findProcedure(**library, "UpdateDriverForPlugAndPlayDevicesW");
    if (!procedure)
        return Outcome<bool>::failed(procedure.error());
    context.printer.message(Message::Updating, {hardwareId, path});
    return context.platform.updateDriver(*procedure, hardwareId, path, kForceInstall);
}

ResultCode conclude(const CommandContext& context, const Outcome<bool>& rebootNeeded)
{
    if (!rebootNeeded) {
        context.printer.failure(Message::NotUpdated, rebootNeeded.error());
        return kFailure;
    }
    context.printer.message(Message::Updated);
    return *rebootNeeded ? kRebootNeeded : kSuccess;
}

/// Switches the system's installation to non-interactive while it lives, where the system can.
class QuietInstallation
{
public:
    explicit QuietInstallation(DevicePlatform& platform) : m_platform(platform)
    {
        auto library = platform.loadLibrary(L"setupapi.dll");
        if (!library)
            return;
        m_library = std::move(*library);
        if (const auto procedure = platform.findProcedure(*m_library, "SetupSetNonInteractiveMode")) {
            m_procedure = *procedure;
            m_before = platform.setNonInteractiveMode(*m_procedure, true);
        }
    }
    ~QuietInstallation()
    {
        if (m_procedure)
            m_platform.setNonInteractiveMode(*m_procedure, m_before);
    }
    QuietInstallation(const QuietInstallation&) = delete;
    QuietInstallation& operator=(const QuietInstallation&) = delete;

private:
    DevicePlatform& m_platform;
    std::unique_ptr<LoadedLibrary> m_library;
    std::optional<Procedure> m_procedure;
    bool m_before = false;
};

/// Registers a root-enumerated device of the INF's class with this one hardware id. It stays whatever follows.
Status createDevice(const CommandContext& context)
{
    DevicePlatform& platform = context.platform;
    const auto path = infPath(context);
    if (!path)
        return Status::failed(path.error());
    if (context.arguments[1].size() > limits::kNewHardwareId)
        return Status::failed(errors::kNameTooLong);
    const auto setupClass = platform.infClass(*path, limits::kClassName);
    if (!setupClass)
        return Status::failed(setupClass.error());
    auto list = platform.emptyList(setupClass->guid, {});
    if (!list)
        return Status::failed(list.error());
    const auto device = platform.createDevice(**list, setupClass->name, setupClass->guid);
    if (!device)
        return Status::failed(device.error());
    const Status named = platform.setDeviceProperty(**list, *device, DeviceProperty::HardwareIds,
                                                    encodeTextList({context.arguments[1]}));
    return named ? platform.callClassInstaller(InstallFunction::RegisterDevice, **list, *device) : named;
}

} // namespace

ResultCode commands::install(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    if (const Status created = createDevice(context); !created) {
        context.printer.failure(Message::DeviceNotCreated, created.error());
        return kFailure;
    }
    context.printer.message(Message::DeviceCreated);
    return update(context);
}

ResultCode commands::update(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    const auto path = existingInf(context);
    return conclude(context, path ? updateWith(context, *path) : Outcome<bool>::failed(path.error()));
}

ResultCode commands::updateQuietly(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    const auto path = existingInf(context);
    if (!path)
        return conclude(context, Outcome<bool>::failed(path.error()));
    const QuietInstallation quiet(context.platform);
    return conclude(context, updateWith(context, *path));
}

} // namespace driver
