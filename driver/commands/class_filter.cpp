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

std::optional<Guid> classNamed(const CommandContext& context, const std::wstring& name)
{
    const GuidBatch found = context.platform.classGuidsFromName(name, 1, context.machine);
    const bool usable = found.error == 0 || found.error == errors::kInsufficientBuffer;
    return usable && !found.guids.empty() ? std::optional(found.guids.front()) : std::nullopt;
}

void show(const CommandContext& context, Message heading, const wchar_t* value, const TextList& filters)
{
    context.printer.message(heading, {context.arguments[0], value});
    for (const std::wstring& filter : filters)
        context.printer.text(std::wstring(kIndent) + filter + L"\n");
}

bool serviceExists(const CommandContext& context, const std::wstring& name)
{
    const auto manager = context.platform.openServiceManager(context.machine);
    return manager && context.platform.openService(**manager, name);
}

/// Writes the list, or deletes the value of an empty one; that the value is missing already is as good.
bool store(DevicePlatform& platform, RegistryKey& key, const wchar_t* value, const TextList& filters)
{
    if (!filters.empty())
        return static_cast<bool>(platform.setValue(key, value, encodeTextList(filters)));
    const Status deleted = platform.deleteValue(key, value);
    return deleted || deleted.error() == errors::kFileNotFound;
}

} // namespace

ResultCode commands::classFilter(const CommandContext& context)
{
    if (context.arguments.size() < 2 || context.arguments[0].empty())
        return kUsageError;
    const auto guid = classNamed(context, context.arguments[0]);
    if (!guid)
        return kFailure;
    const wchar_t* const value = valueNamed(context.arguments[1]);
    if (value == nullptr)
        return kUsageError;
    const Arguments operations = context.arguments.subspan(2);
    auto key =
        context.platform.openClassKey(*guid, operations.empty() ? kReadAccess : kReadWriteAccess, context.machine);
    if (!key)
        return kFailure;
    auto current = readFilters(context.platform, **key, value);
    if (!current)
        return kFailure;

    FilterEdit edit(std::move(*current), [&](const std::wstring& name) { return serviceExists(context, name); });
    for (const std::wstring& operation : operations)
        if (const ResultCode result = edit.apply(operation); result != kSuccess)
            return result;
    if (edit.changed() && !store(context.platform, **key, value, edit.filters()))
        return kFailure;
    show(context, edit.changed() ? Message::FiltersChanged : Message::Filters, value, edit.filters());
    return edit.changed() ? kRebootNeeded : kSuccess;
}

} // namespace driver
