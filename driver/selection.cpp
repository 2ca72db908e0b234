#include "driver/selection.h"

#include "driver/template_match.h"

#include <algorithm>
#include <vector>

namespace driver {

namespace {

/// What the arguments ask for.
struct Query
{
    std::optional<Guid> setupClass;
    bool everything = false;
    std::vector<DeviceTemplate> templates;

    bool needsSearch() const
    {
        return std::ranges::any_of(templates, [](const DeviceTemplate& t) { return t.wildcard || !t.instanceId; });
    }
};

void parseTemplates(Query& query, Arguments arguments)
{
    if (!arguments.empty() && arguments.front() == L"*") {
        query.everything = true;
        arguments = arguments.subspan(1);
    }
    for (const std::wstring& argument : arguments)
        query.templates.push_back(parseTemplate(argument));
}

bool anyMatches(const Query& query, const Device& device)
{
    // Ids are read once a device, and only when a template asks for them.
    std::optional<std::wstring> id;
    std::optional<TextList> hardwareIds;
    const auto selects = [&](const DeviceTemplate& pattern) {
        if (pattern.instanceId) {
            if (!id)
                id = device.id().value_or(L"");
            return matches(pattern, *id);
        }
        if (!hardwareIds) {
            hardwareIds = device.texts(DeviceProperty::HardwareIds);
            const TextList compatible = device.texts(DeviceProperty::CompatibleIds);
            hardwareIds->insert(hardwareIds->end(), compatible.begin(), compatible.end());
        }
        return std::ranges::any_of(*hardwareIds, [&](const std::wstring& text) { return matches(pattern, text); });
    };
    return std::ranges::any_of(query.templates, selects);
}

Opened<DeviceList> openList(const CommandContext& context, const Query& query, std::uint32_t flags)
{
    if (query.everything || query.needsSearch())
        return context.platform.classDevices(query.setupClass, flags, context.machine);
    auto list = context.platform.emptyList(query.setupClass, context.machine);
    if (list)
        for (const DeviceTemplate& pattern : query.templates)
            static_cast<void>(context.platform.openDevice(**list, pattern.text));
    return list;
}

Selected enumerate(const CommandContext& context, const Query& query, std::uint32_t flags,
                   const DeviceCallback& callback)
{
    auto list = openList(context, query, flags);
    if (!list)
        return {kFailure, false};
    const auto detail = context.platform.listDetail(**list);
    if (!detail)
        return {kFailure, false};
    const bool all = query.everything || !query.needsSearch();
    const ResultCode result = forEachDevice(context.platform, **list, *detail, [&](const Device& device) {
        return all || anyMatches(query, device) ? callback(device) : kSuccess;
    });
    return {result, true};
}

} // namespace

ResultCode forEachDevice(DevicePlatform& platform, DeviceList& list, const ListDetail& detail,
                         const DeviceCallback& callback)
{
    for (std::uint32_t position = 0;; ++position) {
        const auto index = platform.deviceAt(list, position);
        if (!index)
            return kSuccess;
        if (const ResultCode result = callback({platform, list, *index, detail}); result != kSuccess)
            return result;
    }
}

Selected selectDevices(const CommandContext& context, Arguments arguments, std::uint32_t flags,
                       const DeviceCallback& callback)
{
    if (arguments.empty())
        return {kUsageError, false};
    Query query;
    if (arguments.front().size() > 1 && arguments.front().front() == L'=') {
        const GuidBatch found = context.platform.classGuidsFromName(arguments.front().substr(1), 1, context.machine);
        if (found.error != 0 && found.error != errors::kInsufficientBuffer)
            return {kFailure, false};
        if (found.guids.empty())
            return {kSuccess, false};
        query.setupClass = found.guids.front();
        arguments = arguments.subspan(1);
    }
    parseTemplates(query, arguments);
    return enumerate(context, query, flags, callback);
}

} // namespace driver
