#include "driver/commands/commands.h"

namespace driver {

namespace {

constexpr std::uint32_t kForceInstall = 1;

bool usableArguments(const CommandContext& context)
{
    return context.machine.empty() && context.arguments.size() == 2 && !context.arguments[0].empty() &&
           !context.arguments[1].empty();
}

bool fits(const FullPath& path)
{
    return path.length > 0 && path.length < limits::kPath;
}

ResultCode updateWith(const CommandContext& context, const std::wstring& infPath)
{
    const std::wstring& hardwareId = context.arguments[1];
    const auto library = context.platform.loadLibrary(L"newdev.dll");
    if (!library)
        return kFailure;
    const auto procedure = context.platform.findProcedure(**library, "UpdateDriverForPlugAndPlayDevicesW");
    if (!procedure)
        return kFailure;
    context.printer.message(Message::Updating, {hardwareId, infPath});
    const auto rebootNeeded = context.platform.updateDriver(*procedure, hardwareId, infPath, kForceInstall);
    if (!rebootNeeded)
        return kFailure;
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

/// The full path of the INF that is to be installed; nothing when it is too long or no such file exists.
std::optional<std::wstring> existingInf(const CommandContext& context)
{
    const FullPath path = context.platform.fullPath(context.arguments[0], limits::kPath);
    return fits(path) && context.platform.fileExists(path.path) ? std::optional(path.path) : std::nullopt;
}

/// Registers a root-enumerated device of the INF's class with this one hardware id. It stays whatever follows.
bool createDevice(const CommandContext& context, const std::wstring& infPath)
{
    DevicePlatform& platform = context.platform;
    const auto setupClass = platform.infClass(infPath, limits::kClassName);
    if (!setupClass)
        return false;
    auto list = platform.emptyList(setupClass->guid, {});
    if (!list)
        return false;
    const auto device = platform.createDevice(**list, setupClass->name, setupClass->guid);
    if (!device || !platform.setDeviceProperty(**list, *device, DeviceProperty::HardwareIds,
                                               encodeTextList({context.arguments[1]})))
        return false;
    return static_cast<bool>(platform.callClassInstaller(InstallFunction::RegisterDevice, **list, *device));
}

} // namespace

ResultCode commands::install(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    const FullPath path = context.platform.fullPath(context.arguments[0], limits::kPath);
    if (!fits(path) || context.arguments[1].size() > limits::kNewHardwareId)
        return kFailure;
    if (!createDevice(context, path.path))
        return kFailure;
    context.printer.message(Message::DeviceCreated);
    return update(context);
}

ResultCode commands::update(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    const auto path = existingInf(context);
    return path ? updateWith(context, *path) : kFailure;
}

ResultCode commands::updateQuietly(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    const auto path = existingInf(context);
    if (!path)
        return kFailure;
    const QuietInstallation quiet(context.platform);
    return updateWith(context, *path);
}

} // namespace driver
