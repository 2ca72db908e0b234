#include "driver/platform/device_tree_file.h"

#include "driver/text.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace driver {

namespace {

using Json = nlohmann::ordered_json;

/// A tree's file is small; a larger one is not read.
constexpr std::uintmax_t kLargestFile = 64 * 1024 * 1024;

constexpr std::pair<Resource::Kind, const char*> kResourceKinds[] = {
    {Resource::Kind::Memory, "memory"}, {Resource::Kind::Port, "port"},   {Resource::Kind::Dma, "dma"},
    {Resource::Kind::Interrupt, "irq"}, {Resource::Kind::Other, "other"},
};

/// Members of one object, read into their fields. Throws what parseTree() catches.
class Reader
{
public:
    explicit Reader(const Json& object) : m_object(object)
    {
        if (!object.is_object())
            throw std::invalid_argument("not an object");
    }

    template<class Field, class Convert>
    void read(const char* name, Field& field, Convert convert) const
    {
        if (const auto found = m_object.find(name); found != m_object.end())
            field = convert(*found);
    }

    template<class Item, class Convert>
    void readAll(const char* name, std::vector<Item>& items, Convert convert) const
    {
        read(name, items, [&](const Json& array) { return all<Item>(array, convert); });
    }

    template<class Item, class Convert>
    static std::vector<Item> all(const Json& array, Convert convert)
    {
        if (!array.is_array())
            throw std::invalid_argument("not an array");
        std::vector<Item> items;
        for (const Json& each : array)
            items.push_back(convert(each));
        return items;
    }

    void text(const char* name, std::wstring& field) const { read(name, field, toText); }
    void texts(const char* name, TextList& field) const { readAll(name, field, toText); }
    void flag(const char* name, bool& field) const
    {
        read(name, field, [](const Json& value) { return value.get<bool>(); });
    }
    template<class Number>
    void number(const char* name, Number& field) const
    {
        read(name, field, [](const Json& value) { return value.get<Number>(); });
    }

    static std::wstring toText(const Json& value) { return fromUtf8(value.get_ref<const std::string&>()); }
    static Guid toGuid(const Json& value)
    {
        const auto guid = parseGuid(toText(value));
        if (!guid)
            throw std::invalid_argument("not a GUID");
        return *guid;
    }

private:
    const Json& m_object;
};

SimulatedClass toClass(const Json& json)
{
    const Reader reader(json);
    SimulatedClass result;
    reader.read("guid", result.guid, Reader::toGuid);
    reader.text("name", result.name);
    reader.text("description", result.description);
    reader.texts("upperFilters", result.upperFilters);
    reader.texts("lowerFilters", result.lowerFilters);
    return result;
}

SimulatedDriver toDriver(const Json& json)
{
    const Reader reader(json);
    SimulatedDriver result;
    reader.text("inf", result.inf);
    reader.text("section", result.section);
    reader.text("description", result.description);
    reader.text("manufacturer", result.manufacturer);
    reader.text("provider", result.provider);
    reader.number("version", result.version);
    reader.number("date", result.date);
    reader.texts("files", result.files);
    return result;
}

Resource toResource(const Json& json)
{
    const Reader reader(json);
    Resource result;
    std::string kind;
    reader.number("kind", kind);
    for (const auto& [value, name] : kResourceKinds)
        if (kind == name)
            result.kind = value;
    reader.number("start", result.start);
    reader.number("end", result.end);
    return result;
}

SimulatedInterface toInterface(const Json& json)
{
    const Reader reader(json);
    SimulatedInterface result;
    reader.read("class", result.interfaceClass, Reader::toGuid);
    reader.text("path", result.path);
    return result;
}

SimulatedDevice toDevice(const Json& json)
{
    const Reader reader(json);
    SimulatedDevice result;
    const auto resources = [](const Json& value) { return Reader::all<Resource>(value, toResource); };
    reader.text("id", result.id);
    reader.read("class", result.setupClass, Reader::toGuid);
    reader.text("className", result.className);
    reader.text("description", result.description);
    reader.texts("hardwareIds", result.hardwareIds);
    reader.texts("compatibleIds", result.compatibleIds);
    reader.text("service", result.service);
    reader.texts("upperFilters", result.upperFilters);
    reader.texts("lowerFilters", result.lowerFilters);
    reader.flag("present", result.present);
    reader.number("status", result.status.flags);
    reader.number("problem", result.status.problem);
    reader.number("statusError", result.statusError);
    reader.flag("unreadableId", result.unreadableId);
    reader.flag("refusesChanges", result.refusesChanges);
    reader.flag("rebootAfterChange", result.rebootAfterChange);
    reader.read("driver", result.driver, toDriver);
    reader.readAll("interfaces", result.interfaces, toInterface);
    reader.read("allocated", result.allocated, resources);
    reader.read("boot", result.boot, resources);
    return result;
}

SimulatedPackage toPackage(const Json& json)
{
    const Reader reader(json);
    SimulatedPackage result;
    reader.text("name", result.name);
    reader.number("text", result.text);
    reader.text("signer", result.signer);
    reader.number("verification", result.verification);
    return result;
}

Json ofText(const std::wstring& text)
{
    return toUtf8(text);
}
Json ofGuid(const Guid& guid)
{
    return toUtf8(guidText(guid));
}

/// Leaves out what is as in a new object.
template<class Value>
void put(Json& json, const char* name, const Value& value)
{
    if (value != Value())
        json[name] = value;
}
void put(Json& json, const char* name, const std::wstring& value)
{
    put(json, name, toUtf8(value));
}
template<class Item, class Convert>
void putAll(Json& json, const char* name, const std::vector<Item>& items, Convert convert)
{
    Json array = Json::array();
    for (const Item& item : items)
        array.push_back(convert(item));
    if (!items.empty())
        json[name] = std::move(array);
}

Json fromClass(const SimulatedClass& value)
{
    Json json{{"guid", ofGuid(value.guid)}};
    put(json, "name", value.name);
    put(json, "description", value.description);
    putAll(json, "upperFilters", value.upperFilters, ofText);
    putAll(json, "lowerFilters", value.lowerFilters, ofText);
    return json;
}

Json fromDriver(const SimulatedDriver& value)
{
    Json json = Json::object();
    put(json, "inf", value.inf);
    put(json, "section", value.section);
    put(json, "description", value.description);
    put(json, "manufacturer", value.manufacturer);
    put(json, "provider", value.provider);
    put(json, "version", value.version);
    put(json, "date", value.date);
    putAll(json, "files", value.files, ofText);
    return json;
}

Json fromResource(const Resource& value)
{
    Json json{{"kind", "other"}};
    for (const auto& [kind, name] : kResourceKinds)
        if (kind == value.kind)
            json["kind"] = name;
    put(json, "start", value.start);
    put(json, "end", value.end);
    return json;
}

Json fromInterface(const SimulatedInterface& value)
{
    return {{"class", ofGuid(value.interfaceClass)}, {"path", ofText(value.path)}};
}

Json fromDevice(const SimulatedDevice& value)
{
    Json json{{"id", ofText(value.id)}};
    if (value.setupClass)
        json["class"] = ofGuid(*value.setupClass);
    put(json, "className", value.className);
    put(json, "description", value.description);
    putAll(json, "hardwareIds", value.hardwareIds, ofText);
    putAll(json, "compatibleIds", value.compatibleIds, ofText);
    put(json, "service", value.service);
    putAll(json, "upperFilters", value.upperFilters, ofText);
    putAll(json, "lowerFilters", value.lowerFilters, ofText);
    if (!value.present)
        json["present"] = false;
    put(json, "status", value.status.flags);
    put(json, "problem", value.status.problem);
    put(json, "statusError", value.statusError);
    put(json, "unreadableId", value.unreadableId);
    put(json, "refusesChanges", value.refusesChanges);
    put(json, "rebootAfterChange", value.rebootAfterChange);
    if (value.driver)
        json["driver"] = fromDriver(*value.driver);
    putAll(json, "interfaces", value.interfaces, fromInterface);
    if (value.allocated)
        putAll(json, "allocated", *value.allocated, fromResource);
    if (value.boot)
        putAll(json, "boot", *value.boot, fromResource);
    return json;
}

Json fromPackage(const SimulatedPackage& value)
{
    Json json{{"name", ofText(value.name)}, {"text", value.text}};
    put(json, "signer", value.signer);
    put(json, "verification", value.verification);
    return json;
}

} // namespace

std::optional<DeviceTree> parseTree(std::string_view text)
{
    try {
        const Json json = Json::parse(text);
        const Reader reader(json);
        DeviceTree tree;
        reader.readAll("classes", tree.classes, toClass);
        reader.readAll("packages", tree.packages, toPackage);
        reader.texts("services", tree.services);
        reader.texts("machines", tree.machines);
        std::vector<SimulatedDevice> devices;
        reader.readAll("devices", devices, toDevice);
        for (SimulatedDevice& device : devices)
            tree.add(std::move(device));
        return tree;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string treeText(const DeviceTree& tree)
{
    Json json = Json::object();
    putAll(json, "machines", tree.machines, ofText);
    putAll(json, "services", tree.services, ofText);
    putAll(json, "classes", tree.classes, fromClass);
    putAll(json, "packages", tree.packages, fromPackage);
    putAll(json, "devices", tree.devices, fromDevice);
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<DeviceTree> loadTree(const std::filesystem::path& file)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error == std::errc::no_such_file_or_directory)
        return DeviceTree::fresh();
    if (error || size > kLargestFile)
        return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return stream ? parseTree(text) : std::nullopt;
}

bool saveTree(const DeviceTree& tree, const std::filesystem::path& file)
{
    std::filesystem::path beside = file;
    beside += ".new";
    std::error_code error;
    {
        std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
        if (!stream.is_open())
            return false;
        stream << treeText(tree) << std::flush;
        if (!stream) {
            stream.close();
            std::filesystem::remove(beside, error);
            return false;
        }
    }
    std::filesystem::rename(beside, file, error);
    if (!error)
        return true;
    std::error_code ignored;
    std::filesystem::remove(beside, ignored);
    return false;
}

} // namespace driver
