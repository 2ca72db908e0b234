#include "driver/platform/device_tree_file.h"

#include "driver/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <type_traits>
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

// Each describes the members of its JSON object once, for reading and for writing; `io` is a Reader or a Writer.

template<class Io>
void describe(Io& io, SimulatedClass& value)
{
    io("guid", value.guid);
    io("name", value.name);
    io("description", value.description);
    io("upperFilters", value.upperFilters);
    io("lowerFilters", value.lowerFilters);
}

template<class Io>
void describe(Io& io, SimulatedDriver& value)
{
    io("inf", value.inf);
    io("section", value.section);
    io("description", value.description);
    io("manufacturer", value.manufacturer);
    io("provider", value.provider);
    io("version", value.version);
    io("date", value.date);
    io("files", value.files);
}

template<class Io>
void describe(Io& io, Resource& value)
{
    io("kind", value.kind);
    io("start", value.start);
    io("end", value.end);
}

template<class Io>
void describe(Io& io, SimulatedInterface& value)
{
    io("class", value.interfaceClass);
    io("path", value.path);
}

template<class Io>
void describe(Io& io, SimulatedDevice& value)
{
    io("id", value.id);
    io("class", value.setupClass);
    io("className", value.className);
    io("description", value.description);
    io("hardwareIds", value.hardwareIds);
    io("compatibleIds", value.compatibleIds);
    io("service", value.service);
    io("upperFilters", value.upperFilters);
    io("lowerFilters", value.lowerFilters);
    io("present", value.present, true);
    io("status", value.status.flags);
    io("problem", value.status.problem);
    io("statusError", value.statusError);
    io("unreadableId", value.unreadableId);
    io("refusesChanges", value.refusesChanges);
    io("rebootAfterChange", value.rebootAfterChange);
    io("driver", value.driver);
    io("interfaces", value.interfaces);
    io("allocated", value.allocated);
    io("boot", value.boot);
}

template<class Io>
void describe(Io& io, SimulatedPackage& value)
{
    io("name", value.name);
    io("originalName", value.originalName);
    io("text", value.text);
    io("signer", value.signer);
    io("verification", value.verification);
}

template<class Io>
void describe(Io& io, DeviceTree& value)
{
    io("machines", value.machines);
    io("services", value.services);
    io("classes", value.classes);
    io("packages", value.packages);
    io("devices", value.devices);
}

template<class T>
inline constexpr bool kIsText = std::is_same_v<T, std::wstring> || std::is_same_v<T, std::string>;
template<class T>
inline constexpr bool kIsList = requires(T value)
{
    value.emplace_back();
}
&&!kIsText<T>;
template<class T>
inline constexpr bool kIsOptional = requires(T value)
{
    value.has_value();
};

/// Throws what parseTree() catches.
class Reader
{
public:
    explicit Reader(const Json& object) : m_object(object)
    {
        if (!object.is_object())
            throw std::invalid_argument("not an object");
    }

    template<class Field>
    void operator()(const char* name, Field& field, bool = false) const
    {
        if (const auto found = m_object.find(name); found != m_object.end())
            read(*found, field);
    }

private:
    static void read(const Json& json, std::wstring& text) { text = fromUtf8(json.get_ref<const std::string&>()); }
    static void read(const Json& json, Guid& guid)
    {
        const auto parsed = parseGuid(fromUtf8(json.get_ref<const std::string&>()));
        if (!parsed)
            throw std::invalid_argument("not a GUID");
        guid = *parsed;
    }
    static void read(const Json& json, Resource::Kind& kind)
    {
        for (const auto& [value, name] : kResourceKinds)
            if (json.get_ref<const std::string&>() == name)
                kind = value;
    }
    template<class T>
    static void read(const Json& json, T& value)
    {
        if constexpr (kIsList<T>) {
            if (!json.is_array())
                throw std::invalid_argument("not an array");
            for (const Json& each : json)
                read(each, value.emplace_back());
        } else if constexpr (kIsOptional<T>) {
            read(json, value.emplace());
        } else if constexpr (std::is_class_v<T> && !kIsText<T>) {
            const Reader reader(json);
            describe(reader, value);
        } else if constexpr (std::is_unsigned_v<T> && !std::is_same_v<T, bool>) {
            if (!json.is_number_unsigned() || json.get<std::uint64_t>() > std::numeric_limits<T>::max())
                throw std::invalid_argument("not such a number");
            value = json.get<T>();
        } else {
            value = json.get<T>();
        }
    }

    const Json& m_object;
};

/// Leaves out what is as in a new object.
class Writer
{
public:
    template<class Field>
    void operator()(const char* name, Field& field, bool normal = false)
    {
        if constexpr (kIsList<Field> || kIsText<Field>) {
            if (field.empty())
                return;
        } else if constexpr (kIsOptional<Field>) {
            if (!field)
                return;
        } else if constexpr (std::is_same_v<Field, bool>) {
            if (field == normal)
                return;
        } else if constexpr (!std::is_enum_v<Field>) { // whose first value is not the one of a new object
            if (field == Field())
                return;
        }
        m_object[name] = written(field);
    }

    Json take() { return std::move(m_object); }

private:
    static Json written(std::wstring& text) { return toUtf8(text); }
    static Json written(Guid& guid) { return toUtf8(guidText(guid)); }
    static Json written(Resource::Kind& kind)
    {
        return std::ranges::find(kResourceKinds, kind, [](const auto& each) { return each.first; })->second;
    }
    template<class T>
    static Json written(T& value)
    {
        if constexpr (kIsList<T>) {
            Json array = Json::array();
            for (auto& each : value)
                array.push_back(written(each));
            return array;
        } else if constexpr (kIsOptional<T>) {
            return written(*value);
        } else if constexpr (std::is_class_v<T> && !kIsText<T>) {
            Writer writer;
            describe(writer, value);
            return writer.take();
        } else {
            return value;
        }
    }

    Json m_object = Json::object();
};

} // namespace

std::optional<DeviceTree> parseTree(std::string_view text)
{
    try {
        const Json json = Json::parse(text);
        const Reader reader(json);
        DeviceTree tree;
        describe(reader, tree);
        for (SimulatedDevice& device : tree.devices)
            device.key = ++tree.lastKey;
        return tree;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string treeText(const DeviceTree& tree)
{
    Writer writer;
    describe(writer, const_cast<DeviceTree&>(tree)); // which a writer only reads
    return writer.take().dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Outcome<DeviceTree> loadTree(const std::filesystem::path& file)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error == std::errc::no_such_file_or_directory)
        return DeviceTree::fresh();
    if (error || size > kLargestFile)
        return Failure{error ? errors::kReadFault : errors::kFileTooLarge};
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream)
        return Failure{errors::kReadFault};
    auto tree = parseTree(text);
    return tree ? Outcome<DeviceTree>(std::move(*tree)) : Failure{errors::kFileCorrupt};
}

Status saveTree(const DeviceTree& tree, const std::filesystem::path& file)
{
    const std::string text = treeText(tree);
    if (text.size() > kLargestFile)
        return Failure{errors::kFileTooLarge};
    std::filesystem::path beside = file;
    beside += ".new";
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    if (!stream.is_open())
        return Failure{errors::kWriteFault};
    stream << text;
    stream.close();
    std::error_code error;
    if (stream)
        std::filesystem::rename(beside, file, error);
    if (stream && !error)
        return {};
    std::filesystem::remove(beside, error);
    return Failure{errors::kWriteFault};
}

} // namespace driver
