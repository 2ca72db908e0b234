#include "driver/commands/class_guids.h"

#include <algorithm>
#include <functional>

namespace driver {

namespace {

constexpr std::uint32_t kFirstClassCount = 128;
constexpr std::uint32_t kFirstNamedCount = 16;

Outcome<std::vector<Guid>> allGuids(std::uint32_t capacity, const std::function<GuidBatch(std::uint32_t)>& ask,
                                    Causes& causes, const std::wstring& subject)
{
    GuidBatch batch = ask(capacity);
    while (batch.error == errors::kInsufficientBuffer) {
        capacity = std::max(batch.required, capacity + 1);
        batch = ask(capacity);
    }
    causes.reportUnless(0, batch.error, subject);
    return batch.error == 0 ? Outcome<std::vector<Guid>>(std::move(batch.guids)) : Failure{batch.error};
}

} // namespace

Outcome<std::vector<Guid>> allClasses(const CommandContext& context)
{
    const auto ask = [&](std::uint32_t capacity) { return context.platform.buildClassList(capacity, context.machine); };
    return allGuids(kFirstClassCount, ask, context.causes, context.machine);
}

Outcome<std::vector<Guid>> classesNamed(const CommandContext& context, const std::wstring& name)
{
    const auto ask = [&](std::uint32_t capacity) {
        return context.platform.classGuidsFromName(name, capacity, context.machine);
    };
    return allGuids(kFirstNamedCount, ask, context.causes, name);
}

} // namespace driver
