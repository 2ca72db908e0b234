#include "driver/class_filters.h"
#include "driver/commands/commands.h"
#include "driver/filter_edit.h"
#include "driver/text.h"

namespace driver {

namespace {

/// The registry value that the second argument names; null for any other word.
const wchar_t* valueNamed(const std::wstring& word)
{
    if (equalIgnoringCase(word, L"upper"))
        return kUpperFilters;
    return equalIgnoringCase(word, L"lower") ? kLowerFilters : nullptr;
}

Outcome<Guid> classNamed(const CommandContext& context, const std::wstring& name)
{
    const GuidBatch found = context.platform.classGuidsFromName(name, 1, context.machine);
    if (found.error != 0 && found.error != errors::kInsufficientBuffer)
        return Failure{found.error};
    return found.guids.empty() ? Outcome<Guid>(Failure{errors::kInvalidClass}) : found.guids.front();
}

void showFilters(const CommandContext& context, Message heading, const wchar_t* value, const TextList& filters)
{
    context.printer.message(heading, {context.arguments[0], value});
    for (const std::wstring& filter : filters)
        context.printer.text(std::wstring(kIndent) + filter + L"\n");
}

bool serviceExists(const CommandContext& context, const std::wstring& name)
{
    const auto manager = context.platform.openServiceManager(context.machine);
    const auto service = manager ? (*manager)->openService(name) : Failure{manager.error()};
    context.causes.reportUnless(0, service.error(), name);
    return static_cast<bool>(service);
}

/// Writes the list, or deletes the value of an empty one; that the value is missing already is as good.
Status store(RegistryKey& key, const wchar_t* value, const TextList& filters)
{
    if (!filters.empty())
        return key.setValue(value, encodeTextList(filters));
    const Status deleted = key.deleteValue(value);
    return deleted.error() == errors::kFileNotFound ? Status() : deleted;
}

/// Applies the operations and stores the list if they changed it.
ResultCode editFilters(const CommandContext& context, RegistryKey& key, const wchar_t* value, FilterEdit& edit,
                       Arguments operations)
{
    for (const std::wstring& operation : operations) {
        const int before = context.causes.count();
        const ResultCode result = edit.apply(operation);
        if (result == kFailure && context.causes.count() == before) // no service was missing, so the entry was
            context.causes.report(errors::kNotFound, operation);
        if (result != kSuccess)
            return result;
    }
    const Status stored = edit.changed() ? store(key, value, edit.filters()) : Status();
    context.causes.reportUnless(0, stored.error(), context.arguments[0]);
    return stored ? kSuccess : kFailure;
}

} // namespace

ResultCode commands::classFilter(const CommandContext& context)
{
    if (context.arguments.size() < 2 || context.arguments[0].empty())
        return kUsageError;
    const auto guid = classNamed(context, context.arguments[0]);
    if (!guid)
        return context.failed(guid.error(), context.arguments[0]);
    const wchar_t* const value = valueNamed(context.arguments[1]);
    if (value == nullptr)
        return kUsageError;
    const Arguments operations = context.arguments.subspan(2);
    auto key =
        context.platform.openClassKey(*guid, operations.empty() ? kReadAccess : kReadWriteAccess, context.machine);
    auto current = key ? readFilters(**key, value) : Failure{key.error()};
    if (!current)
        return context.failed(current.error(), context.arguments[0]);

    FilterEdit edit(std::move(*current), [&](const std::wstring& name) { return serviceExists(context, name); });
    if (const ResultCode result = editFilters(context, **key, value, edit, operations); result != kSuccess)
        return result;
    showFilters(context, edit.changed() ? Message::FiltersChanged : Message::Filters, value, edit.filters());
    return edit.changed() ? kRebootNeeded : kSuccess;
}

} // namespace driver
