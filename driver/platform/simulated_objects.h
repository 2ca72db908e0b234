// simulated_objects.h: what the simulated system keeps behind the objects that it gives out.
#pragma once

#include "driver/platform/device_tree.h"
#include "driver/platform/inf_file.h"

#include <memory>
#include <variant>

namespace driver {

/// Counts an object of the simulated system while it is open.
class OpenCount
{
public:
    explicit OpenCount(int& count) : m_count(count) { ++m_count; }
    ~OpenCount() { --m_count; }
    OpenCount(const OpenCount&) = delete;
    OpenCount& operator=(const OpenCount&) = delete;

private:
    int& m_count;
};

/// An object with nothing behind it but `State`.
template<class Base, class State>
struct SimulatedObject final : Base
{
    SimulatedObject(int& openObjects, State initial) : count(openObjects), state(std::move(initial)) {}

    OpenCount count;
    State state;
};

template<class Base, class State>
std::unique_ptr<Base> simulated(int& openObjects, State state)
{
    return std::make_unique<SimulatedObject<Base, State>>(openObjects, std::move(state));
}

/// The state behind an object that this system gave out; another one's objects must not come here.
template<class State, class Base>
State& stateOf(Base& object)
{
    return static_cast<SimulatedObject<Base, State>&>(object).state;
}

struct NoState
{};

/// What a device's next class-installer call is to do.
using PendingChange = std::variant<std::monostate, StateChange, InstallFunction>;

/// A device in a list: registered ones are named by their key, a created one is only here.
struct ListedDevice
{
    std::uint64_t key = 0;
    std::optional<SimulatedDevice> created;
    PendingChange pending;
    std::uint32_t scope = 0;
    std::uint32_t installFlags = 0;
};

struct DeviceListState
{
    Guid setupClass;
    bool remote = false;
    std::vector<ListedDevice> devices;
    std::vector<SimulatedInterface> interfaces;

    /// Null for an index that the list does not have.
    ListedDevice* at(DeviceIndex index);

    /// Null too when the device is no longer in the tree.
    const SimulatedDevice* device(DeviceIndex index, const DeviceTree& tree);
};

struct ClassKeyState
{
    Guid setupClass;
    bool writable = false;
};

struct ResourcesState
{
    std::vector<Resource> resources;
    std::size_t next = 0;
};

struct DriverListState
{
    std::vector<SimulatedDriver> drivers;
};

struct FileSearchState
{
    TextList names;
    std::size_t current = 0;
};

struct InfState
{
    InfFile inf;
    std::vector<const InfFile::Line*> lines; ///< those that were found, by their InfLine
};

/// Reads a file of at most InfFile::kLargestFile bytes; nothing when it cannot.
std::optional<std::string> readInfBytes(const std::wstring& path);

/// Where a path in the system's form is here: backslashes separate as slashes do.
std::u8string localPath(const std::wstring& path);

inline constexpr const wchar_t* kSimulatedInfFolder = L"C:\\Windows\\INF\\";

} // namespace driver
