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
    auto path = context.platform.fullPath(context.arguments[0], limits::kPath);
    if (!path)
        return Failure{path.error()};
    return std::move(path->path);
}

/// The same, of a file that exists.
Outcome<std::wstring> existingInf(const CommandContext& context)
{
    auto path = infPath(context);
    if (path)
        if (const Status exists = context.platform.fileExists(*path); !exists)
            return Failure{exists.error()};
    return path;
}

/// Whether a restart is needed.
Outcome<bool> updateWith(const CommandContext& context, const std::wstring& path)
{
    const std::wstring& hardwareId = context.arguments[1];
    const auto library = context.platform.loadLibrary(L"newdev.dll");
    if (!library)
        return Failure{library.error()};
    const auto procedure = (*library)->find("UpdateDriverForPlugAndPlayDevicesW");
    if (!procedure)
        return Failure{procedure.error()};
    context.printer.message(Message::Updating, {hardwareId, path});
    return (*library)->updateDriver(*procedure, hardwareId, path, kForceInstall);
}

/// `subject` is what a failure is told of.
ResultCode conclude(const CommandContext& context, const Outcome<bool>& rebootNeeded, const std::wstring& subject)
{
    if (!rebootNeeded) {
        context.printer.failure(Message::NotUpdated, rebootNeeded.error());
        return context.failed(rebootNeeded.error(), subject);
    }
    context.printer.message(Message::Updated);
    return *rebootNeeded ? kRebootNeeded : kSuccess;
}

/// Switches the system's installation to non-interactive while it lives, where the system can.
class QuietInstallation
{
public:
    explicit QuietInstallation(const CommandContext& context)
    {
        auto library = context.platform.loadLibrary(L"setupapi.dll");
        const auto procedure = library ? (*library)->find("SetupSetNonInteractiveMode") : Failure{library.error()};
        if (!procedure) {
            context.causes.report(procedure.error(), L"SetupSetNonInteractiveMode");
            return;
        }
        m_library = std::move(*library);
        m_procedure = *procedure;
        m_before = m_library->setNonInteractiveMode(*m_procedure, true);
    }
    ~QuietInstallation()
    {
        if (m_procedure)
            m_library->setNonInteractiveMode(*m_procedure, m_before);
    }
    QuietInstallation(const QuietInstallation&) = delete;
    QuietInstallation& operator=(const QuietInstallation&) = delete;

private:
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
        return Failure{path.error()};
    if (context.arguments[1].size() > limits::kNewHardwareId)
        return Failure{errors::kNameTooLong};
    const auto setupClass = platform.infClass(*path, limits::kClassName);
    if (!setupClass)
        return Failure{setupClass.error()};
    auto list = platform.emptyList(setupClass->guid, {});
    if (!list)
        return Failure{list.error()};
    const auto device = (*list)->create(setupClass->name, setupClass->guid);
    if (!device)
        return Failure{device.error()};
    const Status named =
        (*list)->setProperty(*device, DeviceProperty::HardwareIds, encodeTextList({context.arguments[1]}));
    return named ? (*list)->callClassInstaller(InstallFunction::RegisterDevice, *device) : named;
}

ResultCode updateDriver(const CommandContext& context, bool quietly)
{
    if (!usableArguments(context))
        return kUsageError;
    const auto path = existingInf(context);
    if (!path)
        return conclude(context, Failure{path.error()}, context.arguments[0]);
    const auto quiet = quietly ? std::make_unique<QuietInstallation>(context) : nullptr;
    return conclude(context, updateWith(context, *path), context.arguments[1]);
}

} // namespace

ResultCode commands::install(const CommandContext& context)
{
    if (!usableArguments(context))
        return kUsageError;
    if (const Status created = createDevice(context); !created) {
        context.printer.failure(Message::DeviceNotCreated, created.error());
        return context.failed(created.error(), context.arguments[1]);
    }
    context.printer.message(Message::DeviceCreated);
    return update(context);
}

ResultCode commands::update(const CommandContext& context)
{
    return updateDriver(context, false);
}

ResultCode commands::updateQuietly(const CommandContext& context)
{
    return updateDriver(context, true);
}

} // namespace driver
