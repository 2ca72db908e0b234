#include "driver/engine.h"

#include "driver/command_table.h"
#include "driver/shutdown.h"
#include "driver/text.h"

#include <algorithm>
#include <exception>
#include <vector>

namespace driver {

namespace {

std::wstring_view withoutPrefix(std::wstring_view name)
{
    return name.starts_with(L'-') || name.starts_with(L'/') ? name.substr(1) : name;
}

/// Memory is the one thing that can run out anywhere in a command; everything that was opened has an owner by then.
ResultCode runRoutine(decltype(Command::routine) routine, const CommandContext& context)
{
    try {
        return routine(context);
    } catch (const std::exception&) {
        return kFailure;
    }
}

/// In a session of its own. What a command changed before it failed stays changed.
ResultCode runCommand(const Command& command, const CommandContext& context)
{
    const auto access = accessOf(command);
    const auto routine = routineFor(command, context.extras);
    if (!access)
        return runRoutine(routine, context);
    const auto session = context.platform.begin(*access);
    if (!session)
        return context.failed(session.error());
    const ResultCode result = runRoutine(routine, context);
    const Status committed = (*session)->commit();
    context.causes.reportUnless(0, committed.error());
    return committed ? result : kFailure;
}

} // namespace

DriverEngine::DriverEngine(DevicePlatform& platform, Output& output, Extras extras)
    : m_platform(platform)
    , m_output(output)
    , m_extras(extras)
{}

ResultCode DriverEngine::run(std::span<const std::wstring> arguments)
{
    try {
        return dispatch(arguments);
    } catch (const std::exception&) {
        return kFailure;
    }
}

ResultCode DriverEngine::runEach(std::span<const ArgumentVector> vectors)
{
    ResultCode worst = kSuccess;
    for (const ArgumentVector& vector : vectors)
        worst = std::max(worst, run(vector));
    return worst;
}

ResultCode DriverEngine::dispatch(std::span<const std::wstring> arguments)
{
    Printer printer(m_output);
    const std::wstring program(arguments.empty() ? std::wstring_view() : afterLast(arguments[0], L"\\"));
    const Options options = scanOptions(arguments);
    const bool named = options.command < arguments.size();
    const std::wstring name(named ? withoutPrefix(arguments[options.command]) : std::wstring_view());
    const Command* const command = named ? findCommand(name) : nullptr;
    if (command == nullptr) {
        printer.error(Message::Usage, {program});
        return kUsageError;
    }
    if (routineFor(*command, m_extras) == nullptr) {
        printer.error(Message::NotWithExtras, {program, name});
        return kUsageError;
    }
    Causes causes(printer, m_platform, program);
    const ResultCode result =
        runCommand(*command, {m_platform, printer, causes, program, options.machine, options.force ? kForceFlag : 0u,
                              arguments.subspan(options.command + 1), m_extras});
    if (result == kRebootNeeded && options.reboot)
        requestReboot(m_platform, causes);
    else if (result == kUsageError)
        printer.error(Message::CommandUsage, {program, name});
    else if (result != kSuccess && result != kRebootNeeded)
        printer.error(Message::CommandFailed, {program, name});
    const bool failed = m_extras.strict && causes.count() > 0 && result != kUsageError;
    return failed ? kFailure : result;
}

} // namespace driver
