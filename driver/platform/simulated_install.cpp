// The simulated system's driver store and device installation.
#include "driver/platform/inf_package.h"
#include "driver/platform/simulated_objects.h"
#include "driver/platform/simulated_platform.h"
#include "driver/text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace driver {

namespace {

constexpr std::uint32_t kNotInstalledProblem = 28;
constexpr std::uint32_t kNeedsReboot = 0x100;
constexpr ErrorCode kNoCatalog = 0xE000022F;

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

bool hasId(const SimulatedDevice& device, const std::wstring& id)
{
    const auto equal = [&](const std::wstring& own) { return equalIgnoringCase(own, id); };
    return std::ranges::any_of(device.hardwareIds, equal) || std::ranges::any_of(device.compatibleIds, equal);
}

/// Name of the stored package with these bytes; stores it under the first free name when there is none.
std::wstring store(DeviceTree& tree, const std::string& bytes)
{
    const auto known = std::ranges::find(tree.packages, bytes, &SimulatedPackage::text);
    if (known != tree.packages.end())
        return known->name;
    std::wstring name;
    for (std::size_t number = 0; name.empty() || tree.package(name) != nullptr; ++number)
        name = L"oem" + std::to_wstring(number) + L".inf";
    tree.packages.push_back({name, bytes, {}, kNoCatalog});
    return name;
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

std::wstring newDeviceId(const DeviceTree& tree, const std::wstring& className)
{
    for (unsigned number = 0;; ++number) {
        std::wstring digits = std::to_wstring(number);
        digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, L'0');
        std::wstring id = L"ROOT\\" + className + L"\\" + digits;
        if (std::ranges::none_of(tree.devices, [&](const auto& each) { return equalIgnoringCase(each.id, id); }))
            return id;
    }
}

Status changeState(SimulatedDevice& device, StateChange change)
{
    using namespace node_status;
    const bool disabled = (device.status.flags & kHasProblem) && device.status.problem == kProblemDisabled;
    if (change == StateChange::Disable)
        device.status = {(device.status.flags & ~kStarted) | kHasProblem, kProblemDisabled};
    else if (change == StateChange::Enable && disabled)
        device.status = {(device.status.flags & ~kHasProblem) | kStarted, 0};
    return {};
}

Status removeDevice(DeviceTree& tree, std::uint64_t key)
{
    std::erase_if(tree.devices, [&](const SimulatedDevice& each) { return each.key == key; });
    return {};
}

/// Puts a package into the store and returns its name in `name`.
template<class Change>
Status storeChange(Change change, const std::string& bytes, std::wstring& name)
{
    return change([&](DeviceTree& tree) {
        name = store(tree, bytes);
        return Status();
    });
}

} // namespace

Outcome<DeviceIndex> SimulatedPlatform::createDevice(DeviceList& list, const std::wstring& className,
                                                     const Guid& setupClass)
{
    auto& state = stateOf<DeviceListState>(list);
    SimulatedDevice device;
    device.id = newDeviceId(m_tree, className);
    device.setupClass = setupClass;
    device.className = className;
    device.status = {node_status::kRootEnumerated | node_status::kHasProblem, kNotInstalledProblem};
    state.devices.push_back({0, std::move(device), {}, 0, 0});
    return static_cast<DeviceIndex>(state.devices.size() - 1);
}

Status SimulatedPlatform::setStateChange(DeviceList& list, DeviceIndex index, StateChange change, std::uint32_t scope)
{
    ListedDevice* const listed = stateOf<DeviceListState>(list).at(index);
    if (listed == nullptr)
        return Status::failed(errors::kNoSuchDevice);
    listed->pending = change;
    listed->scope = scope;
    return {};
}

Status SimulatedPlatform::setRemoval(DeviceList& list, DeviceIndex index, std::uint32_t scope)
{
    ListedDevice* const listed = stateOf<DeviceListState>(list).at(index);
    if (listed == nullptr)
        return Status::failed(errors::kNoSuchDevice);
    listed->pending = InstallFunction::Remove;
    listed->scope = scope;
    return {};
}

Status SimulatedPlatform::callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex index)
{
    ListedDevice* const listed = stateOf<DeviceListState>(list).at(index);
    if (listed == nullptr)
        return Status::failed(errors::kNoSuchDevice);
    if (function == InstallFunction::RegisterDevice) {
        if (!listed->created)
            return Status::failed(errors::kInvalidParameter);
        const Status stored = change([&](DeviceTree& tree) {
            listed->key = tree.add(*listed->created).key;
            return Status();
        });
        if (stored)
            listed->created.reset();
        return stored;
    }
    const SimulatedDevice* const device = m_tree.device(listed->key);
    if (listed->created || device == nullptr)
        return Status::failed(errors::kNoSuchDevice);
    if (device->refusesChanges)
        return Status::failed(errors::kNotDisableable);
    const StateChange* const state = std::get_if<StateChange>(&listed->pending);
    if ((function == InstallFunction::PropertyChange) != (state != nullptr))
        return Status::failed(errors::kInvalidParameter);
    const bool reboot = device->rebootAfterChange;
    const Status changed = change([&](DeviceTree& tree) {
        return state != nullptr ? changeState(*tree.device(listed->key), *state) : removeDevice(tree, listed->key);
    });
    if (changed && reboot)
        listed->installFlags |= kNeedsReboot;
    return changed;
}

Outcome<std::uint32_t> SimulatedPlatform::installFlags(DeviceList& list, DeviceIndex index)
{
    const ListedDevice* const listed = stateOf<DeviceListState>(list).at(index);
    return listed == nullptr ? Outcome<std::uint32_t>::failed(errors::kNoSuchDevice) : listed->installFlags;
}

Outcome<InfClass> SimulatedPlatform::infClass(const std::wstring& infPath, std::size_t nameCapacity)
{
    const auto bytes = readInfBytes(infPath);
    if (!bytes)
        return Outcome<InfClass>::failed(errors::kFileNotFound);
    const auto package = InfPackage::read(*bytes);
    if (!package)
        return Outcome<InfClass>::failed(package.error());
    if (package->className().size() >= nameCapacity)
        return Outcome<InfClass>::failed(errors::kInsufficientBuffer);
    return InfClass{package->setupClass(), package->className()};
}

Outcome<StoredInf> SimulatedPlatform::copyOemInf(const std::wstring& infPath, std::size_t capacity)
{
    const auto bytes = readInfBytes(infPath);
    if (!bytes)
        return Outcome<StoredInf>::failed(errors::kFileNotFound);
    if (const auto package = InfPackage::read(*bytes); !package)
        return Outcome<StoredInf>::failed(package.error());
    std::wstring name;
    const Status stored = storeChange([&](const auto& edit) { return change(edit); }, *bytes, name);
    if (!stored)
        return Outcome<StoredInf>::failed(stored.error());
    StoredInf result{kSimulatedInfFolder + name, name};
    return result.path.size() < capacity ? std::move(result) : Outcome<StoredInf>::failed(errors::kInsufficientBuffer);
}

Outcome<bool> SimulatedPlatform::updateDriver(Procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                                              std::uint32_t)
{
    const auto bytes = readInfBytes(infPath);
    if (!bytes)
        return Outcome<bool>::failed(errors::kFileNotFound);
    const auto package = InfPackage::read(*bytes);
    if (!package)
        return Outcome<bool>::failed(package.error());
    bool found = false;
    bool installed = false;
    bool reboot = false;
    const Status changed = change([&](DeviceTree& tree) {
        const std::wstring name = store(tree, *bytes);
        for (SimulatedDevice& device : tree.devices) {
            if (!device.present || !hasId(device, hardwareId))
                continue;
            found = true;
            TextList ids = device.hardwareIds;
            ids.insert(ids.end(), device.compatibleIds.begin(), device.compatibleIds.end());
            const InfModel* const model = package->modelFor(ids);
            if (model == nullptr)
                continue;
            installed = true;
            reboot = reboot || package->needsReboot(*model);
            installOn(tree, device, *package, *model, name);
        }
        return installed ? Status() : Status::failed(found ? errors::kNoMoreItems : errors::kNoSuchDevice);
    });
    return changed ? Outcome<bool>(reboot) : Outcome<bool>::failed(changed.error());
}

Status SimulatedPlatform::uninstallOemInf(Procedure, const std::wstring& fileName, std::uint32_t flags)
{
    if (!isStoreName(fileName))
        return Status::failed(errors::kNotAnInstalledOemInf);
    if (m_tree.package(fileName) == nullptr)
        return Status::failed(errors::kFileNotFound);
    if ((flags & 1) == 0 && usedByDevices(m_tree, fileName))
        return Status::failed(errors::kInfInUseByDevices);
    return change([&](DeviceTree& tree) {
        std::erase_if(tree.packages, [&](const auto& each) { return equalIgnoringCase(each.name, fileName); });
        return Status();
    });
}

DevicePlatform::Verification SimulatedPlatform::verifyInfFile(Procedure, const std::wstring& infName)
{
    const SimulatedPackage* const package = m_tree.package(infName);
    if (package == nullptr)
        return {errors::kFileNotFound, {}};
    return {package->verification, package->signer};
}

Opened<InfHandle> SimulatedPlatform::openInf(const std::wstring& name)
{
    const SimulatedPackage* const package = m_tree.package(name);
    const auto bytes = package != nullptr ? std::optional(package->text) : readInfBytes(name);
    auto inf = bytes ? InfFile::parse(*bytes) : std::nullopt;
    if (!inf)
        return Opened<InfHandle>::failed(bytes ? errors::kGeneralSyntax : errors::kFileNotFound);
    return simulated<InfHandle>(m_openObjects, InfState{std::move(*inf), {}});
}

Outcome<InfLine> SimulatedPlatform::findInfLine(InfHandle& inf, const std::wstring& section, const std::wstring& key)
{
    auto& state = stateOf<InfState>(inf);
    const InfFile::Line* const line = state.inf.line(section, key);
    if (line == nullptr)
        return Outcome<InfLine>::failed(errors::kLineNotFound);
    state.lines.push_back(line);
    return static_cast<InfLine>(state.lines.size() - 1);
}

Outcome<std::wstring> SimulatedPlatform::infField(InfHandle& inf, InfLine line, std::uint32_t field,
                                                  std::size_t capacity)
{
    const auto& state = stateOf<InfState>(inf);
    const auto position = static_cast<std::size_t>(line);
    if (position >= state.lines.size() || field == 0 || field > state.lines[position]->fields.size())
        return Outcome<std::wstring>::failed(errors::kInvalidParameter);
    const std::wstring& text = state.lines[position]->fields[field - 1];
    return text.size() < capacity ? Outcome<std::wstring>(text)
                                  : Outcome<std::wstring>::failed(errors::kInsufficientBuffer);
}

} // namespace driver
