// device_tree.h: everything that the simulated system knows.
#pragma once

#include "driver/platform_types.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace driver {

struct SimulatedClass
{
    Guid guid;
    std::wstring name;        ///< empty: cannot be read
    std::wstring description; ///< empty: cannot be read
    TextList upperFilters;
    TextList lowerFilters;
};

struct SimulatedDriver
{
    std::wstring inf;
    std::wstring section;
    std::wstring description;
    std::wstring manufacturer;
    std::wstring provider;
    std::uint64_t version = 0;
    std::uint64_t date = 0;
    TextList files;
};

struct SimulatedInterface
{
    Guid interfaceClass;
    std::wstring path;
};

struct SimulatedDevice
{
    std::uint64_t key = 0; ///< names the device while the tree is in memory; later devices have larger ones
    std::wstring id;
    std::optional<Guid> setupClass;
    std::wstring className; ///< empty: that of the setup class
    std::wstring description;
    TextList hardwareIds;
    TextList compatibleIds;
    std::wstring service;
    TextList upperFilters;
    TextList lowerFilters;
    bool present = true;
    NodeStatus status;
    ErrorCode statusError = 0; ///< reading the status fails with it (CR)
    bool unreadableId = false;
    bool refusesChanges = false;
    bool rebootAfterChange = false;
    std::optional<SimulatedDriver> driver;
    std::vector<SimulatedInterface> interfaces; ///< exposed while the device is present and started
    std::optional<std::vector<Resource>> allocated;
    std::optional<std::vector<Resource>> boot;
};

/// A package of the driver store.
struct SimulatedPackage
{
    std::wstring name;         ///< "oem0.inf"
    std::wstring originalName; ///< empty: not known
    std::string text;          ///< the INF, byte by byte
    std::wstring signer;
    ErrorCode verification = 0; ///< what checking its signature ends with
};

struct DeviceTree
{
    std::vector<SimulatedClass> classes;
    std::deque<SimulatedDevice> devices; ///< by key; taking the first ones out, as "remove *" does, moves no other
    std::vector<SimulatedPackage> packages;
    TextList services;
    TextList machines; ///< names of remote machines that answer, all with this same tree
    std::uint64_t lastKey = 0;

    /// Some setup classes and nothing else: what the simulated system starts with.
    static DeviceTree fresh();

    SimulatedDevice* device(std::uint64_t key);
    const SimulatedDevice* device(std::uint64_t key) const;
    SimulatedClass* setupClass(const Guid& guid);
    const SimulatedClass* setupClass(const Guid& guid) const;
    const SimulatedPackage* package(std::wstring_view name) const;

    /// Adds it with a key of its own.
    SimulatedDevice& add(SimulatedDevice device);

    void remove(std::uint64_t key);
};

} // namespace driver
