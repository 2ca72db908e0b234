#include "driver/platform/simulated_store.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

namespace driver {

namespace {

constexpr std::array<const wchar_t*, 2> kLibraries{L"newdev.dll", L"setupapi.dll"};
constexpr std::array<const char*, 4> kProcedures{"UpdateDriverForPlugAndPlayDevicesW", "SetupSetNonInteractiveMode",
                                                 "SetupUninstallOEMInfW", "SetupVerifyInfFileW"};

/// The bytes of an INF of at most InfFile::kLargestFile bytes; nothing when it cannot be read.
std::optional<std::string> readInfBytes(const std::wstring& path)
{
    const std::filesystem::path file = localFile(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error) ||
        std::filesystem::file_size(file, error) > InfFile::kLargestFile || error)
        return std::nullopt;
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return stream ? std::optional(std::move(bytes)) : std::nullopt;
}

/// A name such as the store gives.
bool isStoreName(std::wstring_view name)
{
    return name.size() > 7 && equalIgnoringCase(name.substr(0, 3), L"oem") &&
           equalIgnoringCase(name.substr(name.size() - 4), L".inf");
}

bool usedByDevices(const DeviceTree& tree, const std::wstring& infName)
{
    return std::ranges::any_of(tree.devices, [&](const SimulatedDevice& device) {
        return device.driver && equalIgnoringCase(device.driver->inf, infName);
    });
}

TextList idsOf(const SimulatedDevice& device)
{
    TextList ids = device.hardwareIds;
    ids.insert(ids.end(), device.compatibleIds.begin(), device.compatibleIds.end());
    return ids;
}

/// The path of a device's interface: its id with # for the separators, and the class.
std::wstring interfacePathOf(const SimulatedDevice& device, const Guid& interfaceClass)
{
    std::wstring path = L"\\\\?\\" + device.id + L"#" + guidText(interfaceClass);
    std::replace(path.begin() + 4, path.end(), L'\\', L'#');
    std::ranges::transform(path, path.begin(), foldCase);
    return path;
}

void installOn(DeviceTree& tree, SimulatedDevice& device, const InfPackage& package, const InfModel& model,
               const std::wstring& infName)
{
    device.driver = package.driver(model, infName);
    device.description = model.description;
    device.service = package.service(model);
    device.setupClass = package.setupClass();
    device.status.flags = (device.status.flags & node_status::kRootEnumerated) | node_status::kStarted;
    device.status.problem = 0;
    device.interfaces.clear();
    for (const Guid& each : package.interfaces(model))
        device.interfaces.push_back({each, interfacePathOf(device, each)});
    if (tree.setupClass(package.setupClass()) == nullptr)
        tree.classes.push_back({package.setupClass(), package.className(), package.className(), {}, {}});
}

/// A present device and the model of a package that it gets.
using Installation = std::pair<SimulatedDevice*, const InfModel*>;

/// One for each present device with the id that the package has a model for.
Outcome<std::vector<Installation>> installations(DeviceTree& tree, const InfPackage& package, const std::wstring& id)
{
    bool found = false;
    std::vector<Installation> result;
    for (SimulatedDevice& device : tree.devices) {
        const TextList ids = device.present ? idsOf(device) : TextList();
        if (std::ranges::none_of(ids, [&](const std::wstring& own) { return equalIgnoringCase(own, id); }))
            continue;
        found = true;
        if (const InfModel* const model = package.modelFor(ids))
            result.emplace_back(&device, model);
    }
    if (result.empty())
        return Failure{found ? errors::kNoMoreItems : errors::kNoSuchDevice};
    return result;
}

class SimulatedLibrary final : public Simulated<LoadedLibrary>
{
public:
    using Simulated::Simulated;

    Outcome<Procedure> find(const char* name) override
    {
        if (const auto failure = m_system.fails("findProcedure", name))
            return *failure;
        const auto found = std::ranges::find(kProcedures, std::string_view(name));
        if (found == kProcedures.end())
            return Failure{errors::kProcedureNotFound};
        return static_cast<Procedure>(found - kProcedures.begin() + 1);
    }

    Outcome<bool> updateDriver(Procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                               std::uint32_t flags) override
    {
        if (const auto failure = m_system.fails("updateDriver", hardwareId, flags))
            return *failure;
        const auto file = readPackageFile(infPath);
        if (!file)
            return Failure{file.error()};
        bool reboot = false;
        const Status changed = m_system.change([&](DeviceTree& tree) {
            const auto found = installations(tree, file->package, hardwareId);
            if (!found)
                return Status(Failure{found.error()});
            const std::wstring name = storePackage(tree, file->bytes, infPath);
            for (const auto& [device, model] : *found) {
                installOn(tree, *device, file->package, *model, name);
                reboot = reboot || file->package.needsReboot(*model);
            }
            return Status();
        });
        return changed ? Outcome<bool>(reboot) : Failure{changed.error()};
    }

    bool setNonInteractiveMode(Procedure, bool on) override
    {
        static_cast<void>(m_system.fails("setNonInteractiveMode", on));
        return std::exchange(m_system.nonInteractive, on);
    }

    Status uninstallOemInf(Procedure, const std::wstring& fileName, std::uint32_t flags) override
    {
        if (const auto failure = m_system.fails("uninstallOemInf", fileName, flags))
            return *failure;
        if (!isStoreName(fileName))
            return Failure{errors::kNotAnInstalledOemInf};
        return m_system.change([&](DeviceTree& tree) {
            if (tree.package(fileName) == nullptr)
                return Status(Failure{errors::kFileNotFound});
            if ((flags & 1) == 0 && usedByDevices(tree, fileName))
                return Status(Failure{errors::kInfInUseByDevices});
            std::erase_if(tree.packages, [&](const auto& each) { return equalIgnoringCase(each.name, fileName); });
            return Status();
        });
    }

    Verification verifyInfFile(Procedure, const std::wstring& infName) override
    {
        if (const auto failure = m_system.fails("verifyInfFile"))
            return {failure->code, {}};
        const SimulatedPackage* const package = m_system.tree().package(infName);
        if (package == nullptr)
            return {errors::kFileNotFound, {}};
        return {package->verification, package->signer};
    }
};

class SimulatedInf final : public Simulated<InfHandle>
{
public:
    SimulatedInf(SimulatedSystem& system, InfFile inf) : Simulated(system), m_inf(std::move(inf)) {}

    Outcome<InfLine> findLine(const std::wstring& section, const std::wstring& key) override
    {
        if (const auto failure = m_system.fails("findInfLine"))
            return *failure;
        const InfFile::Line* const line = m_inf.line(section, key);
        if (line == nullptr)
            return Failure{errors::kLineNotFound};
        m_lines.push_back(line);
        return static_cast<InfLine>(m_lines.size() - 1);
    }

    Outcome<std::wstring> field(InfLine line, std::uint32_t field, std::size_t capacity) override
    {
        if (const auto failure = m_system.fails("infField"))
            return *failure;
        const auto position = static_cast<std::size_t>(line);
        if (position >= m_lines.size() || field == 0 || field > m_lines[position]->fields.size())
            return Failure{errors::kInvalidParameter};
        const std::wstring& text = m_lines[position]->fields[field - 1];
        return text.size() < capacity ? Outcome<std::wstring>(text) : Failure{errors::kInsufficientBuffer};
    }

private:
    InfFile m_inf;
    std::vector<const InfFile::Line*> m_lines; ///< those that were found, by their InfLine
};

} // namespace

std::filesystem::path localFile(const std::wstring& path)
{
    const std::string bytes = toUtf8(path.c_str());
    std::u8string local(bytes.begin(), bytes.end());
    if constexpr (std::filesystem::path::preferred_separator == '/')
        std::ranges::replace(local, u8'\\', u8'/');
    return local;
}

Outcome<PackageFile> readPackageFile(const std::wstring& path)
{
    auto bytes = readInfBytes(path);
    if (!bytes)
        return Failure{errors::kFileNotFound};
    auto package = InfPackage::read(*bytes);
    return package ? Outcome<PackageFile>(PackageFile{std::move(*bytes), std::move(*package)})
                   : Failure{package.error()};
}

std::wstring storePackage(DeviceTree& tree, const std::string& bytes, const std::wstring& infPath)
{
    const auto known = std::ranges::find(tree.packages, bytes, &SimulatedPackage::text);
    if (known != tree.packages.end())
        return known->name;
    std::wstring name;
    for (std::size_t number = 0; name.empty() || tree.package(name) != nullptr; ++number)
        name = L"oem" + std::to_wstring(number) + L".inf";
    tree.packages.push_back({name, std::wstring(afterLast(infPath, L"\\/")), bytes, {}, errors::kNoCatalog});
    return name;
}

Opened<InfHandle> openSimulatedInf(SimulatedSystem& system, const std::wstring& name)
{
    if (const auto failure = system.fails("openInf"))
        return *failure;
    const SimulatedPackage* const package = system.tree().package(name);
    const auto bytes = package != nullptr ? std::optional(package->text) : readInfBytes(name);
    auto inf = bytes ? InfFile::parse(*bytes) : std::nullopt;
    if (!inf)
        return Failure{bytes ? errors::kGeneralSyntax : errors::kFileNotFound};
    return std::make_unique<SimulatedInf>(system, std::move(*inf));
}

Opened<LoadedLibrary> loadSimulatedLibrary(SimulatedSystem& system, const std::wstring& name)
{
    if (const auto failure = system.fails("loadLibrary", name))
        return *failure;
    if (std::ranges::none_of(kLibraries, [&](const wchar_t* each) { return equalIgnoringCase(each, name); }))
        return Failure{errors::kModuleNotFound};
    return std::make_unique<SimulatedLibrary>(system);
}

} // namespace driver
