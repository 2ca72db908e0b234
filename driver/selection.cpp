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

/// Empty when it cannot be read.
std::wstring idToMatch(const Device& device)
{
    auto id = device.id();
    return id ? std::move(*id) : std::wstring();
}

bool anyMatches(const Query& query, const Device& device)
{
    // Ids are read once a device, and only when a template asks for them.
    std::optional<std::wstring> id;
    std::optional<TextList> hardwareIds;
    const auto selects = [&](const DeviceTemplate& pattern) {
        if (pattern.instanceId) {
            if (!id)
                id = idToMatch(device);
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

/// A device that does not exist is as one that no template matches.
void openNamed(const CommandContext& context, DeviceList& list, const std::wstring& id)
{
    if (const auto opened = list.open(id); !opened)
        context.causes.reportUnless(errors::kNoSuchDevice, opened.error(), id);
}

Opened<DeviceList> openList(const CommandContext& context, const Query& query, std::uint32_t flags)
{
    if (query.everything || query.needsSearch())
        return context.platform.classDevices(query.setupClass, flags, context.machine);
    auto list = context.platform.emptyList(query.setupClass, context.machine);
    if (list)
        for (const DeviceTemplate& pattern : query.templates)
            openNamed(context, **list, pattern.text);
    return list;
}

Selected enumerate(const CommandContext& context, const Query& query, std::uint32_t flags,
                   const DeviceCallback& callback)
{
    auto list = openList(context, query, flags);
    if (const Status read = list ? (*list)->readDetail() : Failure{list.error()}; !read)
        return {context.failed(read.error(), context.machine), false};
    const bool all = query.everything || !query.needsSearch();
    const ResultCode result = forEachDevice(context.causes, **list, [&](const Device& device) {
        return all || anyMatches(query, device) ? callback(device) : kSuccess;
    });
    return {result, true};
}

} // namespace

ResultCode forEachDevice(Causes& causes, DeviceList& list, const DeviceCallback& callback)
{
    for (std::uint32_t position = 0;; ++position) {
        const auto index = list.at(position);
        if (!index) {
            causes.reportUnless(errors::kNoMoreItems, index.error());
            return kSuccess;
        }
        if (const ResultCode result = callback({causes, list, *index}); result != kSuccess)
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
            return {context.failed(found.error, context.machine.empty() ? arguments.front() : context.machine), false};
        if (found.guids.empty())
            return {kSuccess, false};
        query.setupClass = found.guids.front();
        if (arguments.size() == 1)
            context.printer.error(Message::NoneNamed, {context.program, arguments.front()});
        arguments = arguments.subspan(1);
    }
    parseTemplates(query, arguments);
    return enumerate(context, query, flags, callback);
}

} // namespace driver
