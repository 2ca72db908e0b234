// simulated_system.h: what the simulated system and the objects that it gave out share.
#pragma once

#include "driver/platform/device_tree.h"
#include "driver/platform_objects.h"
#include "driver/text.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace driver {

/// Called before each call of the simulated system, with its name and what it was asked for that a real system would
/// mind: flags, sizes, rights, scopes, names, as "System 18". An error makes the call fail with it, and do nothing.
using CallHook = std::function<ErrorCode(const char* call, const std::wstring& request)>;

class SimulatedSystem
{
public:
    /// The tree in `file`.
    explicit SimulatedSystem(std::filesystem::path file) : m_file(std::move(file)) {}
    explicit SimulatedSystem(DeviceTree tree) : m_tree(std::move(tree)) {}
    SimulatedSystem(const SimulatedSystem&) = delete;
    SimulatedSystem& operator=(const SimulatedSystem&) = delete;

    /// Reads the file anew, where there is one, and keeps other programs from changing it while this one does.
    Opened<CommandSession> begin(Access access);

    const DeviceTree& tree() const { return m_tree; }

    /// An edit that fails must have changed nothing.
    Status change(const std::function<Status(DeviceTree&)>& edit);

    /// Whether a remote machine answers; this one does.
    bool reachable(const MachineName& machine) const;

    /// A text of its own for an error that it gives; empty for others.
    static std::wstring errorText(ErrorCode error);

    CallHook hook;
    int openObjects = 0;
    int restarts = 0;
    bool nonInteractive = false;

    /// Why `call` is to fail, if the hook says so.
    template<class... Request>
    std::optional<Failure> fails(const char* call, const Request&... request)
    {
        if (!hook)
            return std::nullopt;
        std::wstring text;
        ((text += (text.empty() ? L"" : L" ") + shown(request)), ...);
        const ErrorCode error = hook(call, text);
        return error == 0 ? std::nullopt : std::optional(Failure{error});
    }

private:
    class Session;

    static std::wstring shown(const std::wstring& text) { return text; }
    static std::wstring shown(const char* text) { return fromUtf8(text); }
    template<class Number>
    static std::wstring shown(Number number)
    {
        return std::to_wstring(static_cast<std::uint64_t>(number));
    }

    std::filesystem::path m_file; ///< empty for a tree in memory
    bool m_changed = false;       ///< and not saved yet
    DeviceTree m_tree;
};

/// An object of the simulated system, counted while it is open.
template<class Base>
class Simulated : public Base
{
public:
    explicit Simulated(SimulatedSystem& system) : m_system(system) { ++m_system.openObjects; }
    ~Simulated() override { --m_system.openObjects; }

protected:
    SimulatedSystem& m_system;
};

inline constexpr const wchar_t* kSimulatedInfFolder = L"C:\\Windows\\INF\\";

} // namespace driver
