// The device-change commands: one walk over the selected devices, four kinds of change.
#include "driver/commands/commands.h"
#include "driver/selection.h"

namespace driver {

namespace {

/// Flags of the install parameters that say the change is complete only after a restart.
constexpr std::uint32_t kNeedsRestart = 0x180;

/// Numbers of the three texts in the string table and of the closing messages.
struct ChangeTexts
{
    std::uint32_t firstText = 0; ///< done; then reboot needed, failed
    Message none = Message::NoneFound;
    Message reboot = Message::None;
    Message done = Message::None;
};

/// Changes one device.
using Change = Status (*)(const Device&);

struct Progress
{
    std::wstring done;
    std::wstring rebootNeeded;
    std::wstring failed;
    std::uint32_t count = 0;
    bool reboot = false;
};

Status changeState(const Device& device, StateChange change, std::uint32_t scope)
{
    const Status prepared = device.list.setStateChange(device.index, change, scope);
    return prepared ? device.list.callClassInstaller(InstallFunction::PropertyChange, device.index) : prepared;
}

Status enableDevice(const Device& device)
{
    // A device that was disabled in all hardware profiles stays disabled in this one otherwise.
    static_cast<void>(changeState(device, StateChange::Enable, change_scope::kGlobal));
    return changeState(device, StateChange::Enable, change_scope::kConfigurationSpecific);
}

Status disableDevice(const Device& device)
{
    return changeState(device, StateChange::Disable, change_scope::kConfigurationSpecific);
}

Status restartDevice(const Device& device)
{
    return changeState(device, StateChange::PropertyChange, change_scope::kConfigurationSpecific);
}

Status removeDevice(const Device& device)
{
    const Status prepared = device.list.setRemoval(device.index, change_scope::kGlobal);
    return prepared ? device.list.callClassInstaller(InstallFunction::Remove, device.index) : prepared;
}

bool needsRestart(const Device& device, const std::wstring& id)
{
    const auto flags = device.list.installFlags(device.index);
    device.causes.reportUnless(0, flags.error(), id);
    return flags && (*flags & kNeedsRestart) != 0;
}

void changeOne(const CommandContext& context, const Device& device, const std::wstring& id, Change change,
               Progress& progress)
{
    if (const Status changed = change(device); !changed) {
        context.printer.deviceLine(id, progress.failed);
        context.causes.report(changed.error(), id);
        return;
    }
    const bool restart = needsRestart(device, id);
    context.printer.deviceLine(id, restart ? progress.rebootNeeded : progress.done);
    progress.reboot = progress.reboot || restart;
    ++progress.count;
}

/// Fails when a text is missing: then no device may be touched.
Outcome<Progress> loadTexts(Machine& machine, std::uint32_t first)
{
    Progress progress;
    for (std::wstring* text : {&progress.done, &progress.rebootNeeded, &progress.failed}) {
        auto loaded = machine.loadText(first++, limits::kLoadedText);
        if (!loaded)
            return Failure{loaded.error()};
        *text = std::move(*loaded);
    }
    return progress;
}

ResultCode conclude(const CommandContext& context, const ChangeTexts& texts, const Progress& progress)
{
    if (progress.count == 0) {
        context.printer.message(texts.none);
        return kSuccess;
    }
    context.printer.message(progress.reboot ? texts.reboot : texts.done, {std::to_wstring(progress.count)});
    return progress.reboot ? kRebootNeeded : kSuccess;
}

ResultCode changeDevices(const CommandContext& context, const ChangeTexts& texts, Change change, bool skipUnnamed)
{
    if (!context.machine.empty() || context.arguments.empty())
        return kUsageError;
    auto progress = loadTexts(context.platform, texts.firstText);
    if (!progress)
        return context.failed(progress.error());
    const auto act = [&](const Device& device) {
        const auto id = device.id();
        if (!id && !skipUnnamed)
            context.causes.report(id.error(), kUnknownId);
        if (id || !skipUnnamed)
            changeOne(context, device, id ? *id : kUnknownId, change, *progress);
        return kSuccess;
    };
    const Selected selected = selectDevices(context, context.arguments, kPresentDevices, act);
    return selected.enumerated && selected.result == kSuccess ? conclude(context, texts, *progress) : selected.result;
}

} // namespace

ResultCode commands::enable(const CommandContext& context)
{
    return changeDevices(context, {3000, Message::NoneFound, Message::EnableReboot, Message::EnableDone}, enableDevice,
                         false);
}

ResultCode commands::disable(const CommandContext& context)
{
    return changeDevices(context, {3003, Message::NoneFound, Message::DisableReboot, Message::DisableDone},
                         disableDevice, false);
}

ResultCode commands::restart(const CommandContext& context)
{
    return changeDevices(context, {3006, Message::NoneFound, Message::RestartReboot, Message::RestartDone},
                         restartDevice, false);
}

ResultCode commands::remove(const CommandContext& context)
{
    return changeDevices(context, {3009, Message::NoneRemoved, Message::RemoveReboot, Message::RemoveDone},
                         removeDevice, true);
}

} // namespace driver
