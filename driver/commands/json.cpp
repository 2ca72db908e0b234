// The listing commands with JSON for an answer.
#include "driver/commands/class_guids.h"
#include "driver/commands/commands.h"
#include "driver/display/problem_names.h"
#include "driver/package.h"
#include "driver/selection.h"
#include "driver/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

namespace driver {

namespace {

using Json = nlohmann::ordered_json;

Json textOrNull(const std::optional<std::wstring>& text)
{
    return text ? Json(toUtf8(*text)) : Json();
}

template<class T>
std::optional<T> valueOf(Outcome<T> outcome)
{
    return outcome ? std::optional(std::move(*outcome)) : std::nullopt;
}

Json listOf(const TextList& list)
{
    Json array = Json::array();
    for (const std::wstring& text : list)
        array.push_back(toUtf8(text));
    return array;
}

void print(const CommandContext& context, const Json& json)
{
    context.printer.text(fromUtf8(json.dump(2, ' ', false, Json::error_handler_t::replace)) + L"\n");
}

Json deviceJson(const Device& device)
{
    const auto id = device.id();
    device.causes.reportUnless(0, id.error(), kUnknownId);
    return {{"id", textOrNull(valueOf(id))}, {"description", textOrNull(device.text(DeviceProperty::Description))}};
}

void addStatus(Json& json, const Device& device)
{
    const auto status = device.status();
    const auto flag = [&](std::uint32_t bit) { return status ? Json((status->flags & bit) != 0) : Json(); };
    const bool problem = status && (status->flags & node_status::kHasProblem);
    json["present"] = !configuration::isAbsence(status.error());
    json["started"] = flag(node_status::kStarted);
    json["privateProblem"] = flag(node_status::kPrivateProblem);
    json["problem"] = problem ? Json(status->problem) : Json();
    json["problemName"] = problem ? Json(toUtf8(problemName(status->problem))) : Json();
}

void addDriverFiles(Json& json, const Device& device)
{
    const auto drivers = device.list.buildDriverList(device.index, DriverListKind::Installed);
    const auto detail = drivers ? (*drivers)->detail(0) : Failure{drivers.error()};
    device.reportUnless(errors::kNoMoreItems, detail.error());
    json["driver"] = nullptr;
    if (!detail)
        return;
    const auto files = (*drivers)->files(0);
    device.reportUnless(errors::kNoMoreItems, files.error());
    json["driver"] = {{"inf", toUtf8(detail->infPath)},
                      {"section", toUtf8(detail->section)},
                      {"files", files ? listOf(*files) : Json()}};
}

/// `add` puts what the command tells of a device into it. When only those with a problem are wanted, it puts that.
ResultCode printDevices(const CommandContext& context, void (*add)(Json&, const Device&))
{
    Json devices = Json::array();
    const Selected selected = selectDevices(context, context.arguments, kPresentDevices, [&](const Device& device) {
        Json json = deviceJson(device);
        add(json, device);
        if (!context.extras.problem || !json["problem"].is_null())
            devices.push_back(std::move(json));
        return kSuccess;
    });
    if (selected.result == kSuccess)
        print(context, {{"devices", std::move(devices)}});
    return selected.result;
}

Json classJson(const CommandContext& context, const Guid& guid)
{
    const auto name = context.platform.className(guid, context.machine);
    const auto description = context.platform.classDescription(guid, context.machine);
    return {{"guid", toUtf8(guidText(guid))},
            {"name", textOrNull(valueOf(name))},
            {"description", textOrNull(valueOf(description))}};
}

/// The present devices of a class; null when they cannot be listed.
Json devicesOf(const CommandContext& context, const Guid& guid)
{
    const auto list = context.platform.classDevices(guid, kPresentDevices, context.machine);
    const Status read = list ? (*list)->readDetail() : Failure{list.error()};
    context.causes.reportUnless(0, read.error(), guidText(guid));
    if (!read)
        return {};
    Json devices = Json::array();
    forEachDevice(context.causes, **list, [&](const Device& device) {
        devices.push_back(deviceJson(device));
        return kSuccess;
    });
    return devices;
}

std::wstring folded(std::wstring_view text)
{
    std::wstring result(text);
    std::ranges::transform(result, result.begin(), foldCase);
    return result;
}

/// Ids of the devices of each package, present or not, by the package's file name in lower case.
std::map<std::wstring, TextList> usersOfPackages(const CommandContext& context)
{
    std::map<std::wstring, TextList> users;
    const std::vector<std::wstring> all{L"*"};
    selectDevices(context, all, kAllDevices, [&](const Device& device) {
        const auto drivers = device.list.buildDriverList(device.index, DriverListKind::Installed);
        const auto detail = drivers ? (*drivers)->detail(0) : Failure{drivers.error()};
        device.reportUnless(errors::kNoMoreItems, detail.error());
        if (detail)
            users[folded(afterLast(detail->infPath, L"\\/"))].push_back(device.shownId());
        return kSuccess;
    });
    return users;
}

Json packageJson(const CommandContext& context, const Package& package, const TextList& users)
{
    const auto original = context.platform.originalInfName(package.fileName);
    context.causes.reportUnless(0, original.error(), package.fileName);
    return {{"name", toUtf8(package.fileName)},
            {"originalName", original && !original->empty() ? Json(toUtf8(*original)) : Json()},
            {"provider", textOrNull(package.provider)},
            {"classGuid", textOrNull(package.classGuid)},
            {"class", textOrNull(package.className)},
            {"signer", package.hasSigner() ? Json(toUtf8(package.verified->signer)) : Json()},
            {"version", textOrNull(package.version)},
            {"devices", listOf(users)}};
}

} // namespace

ResultCode commands::json::find(const CommandContext& context)
{
    return context.extras.problem ? printDevices(context, addStatus)
                                  : printDevices(context, [](Json&, const Device&) {});
}

ResultCode commands::json::status(const CommandContext& context)
{
    return printDevices(context, addStatus);
}

ResultCode commands::json::hardwareIds(const CommandContext& context)
{
    return printDevices(context, [](Json& json, const Device& device) {
        json["hardwareIds"] = listOf(device.texts(DeviceProperty::HardwareIds));
        json["compatibleIds"] = listOf(device.texts(DeviceProperty::CompatibleIds));
    });
}

ResultCode commands::json::driverFiles(const CommandContext& context)
{
    return printDevices(context, addDriverFiles);
}

ResultCode commands::json::classes(const CommandContext& context)
{
    const auto guids = allClasses(context);
    if (!guids)
        return kFailure;
    Json classes = Json::array();
    for (const Guid& guid : *guids)
        classes.push_back(classJson(context, guid));
    print(context, {{"classes", std::move(classes)}});
    return kSuccess;
}

ResultCode commands::json::listClass(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    Json classes = Json::array();
    for (const std::wstring& name : context.arguments) {
        const auto guids = name.empty() ? Outcome<std::vector<Guid>>(std::vector<Guid>()) : classesNamed(context, name);
        if (!guids)
            return kFailure;
        if (guids->empty() && !name.empty())
            context.causes.report(errors::kInvalidClass, name);
        for (const Guid& guid : *guids) {
            Json json = classJson(context, guid);
            json["devices"] = devicesOf(context, guid);
            if (json["devices"].is_null())
                return kFailure;
            classes.push_back(std::move(json));
        }
    }
    print(context, {{"classes", std::move(classes)}});
    return kSuccess;
}

ResultCode commands::json::listPackages(const CommandContext& context)
{
    if (!context.arguments.empty())
        return kUsageError;
    auto users = usersOfPackages(context);
    Json packages = Json::array();
    const auto count = forEachPackage(context, [&](const std::wstring& fileName) {
        packages.push_back(packageJson(context, readPackage(context, fileName), users[folded(fileName)]));
    });
    if (!count)
        return kFailure;
    print(context, {{"packages", std::move(packages)}});
    return kSuccess;
}

} // namespace driver
