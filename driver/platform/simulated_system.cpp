#include "driver/platform/simulated_system.h"

#include "driver/platform/device_tree_file.h"
#include "driver/platform/tree_lock.h"

#include <algorithm>

namespace driver {

namespace {

/// For another program's change, which takes as long as its command.
constexpr std::chrono::seconds kPatience{30};

} // namespace

/// A reading session locks the file while it is read, so that no other program has to replace it just then; a changing
/// one until its end.
class SimulatedSystem::Session final : public Simulated<CommandSession>
{
public:
    explicit Session(SimulatedSystem& system) : Simulated(system) {}
    ~Session() override { m_system.m_changed = false; }

    Status begin(Access access)
    {
        if (m_system.m_file.empty())
            return {};
        std::filesystem::path lock = m_system.m_file;
        lock += ".lock";
        m_lock.emplace(lock, kPatience);
        if (m_lock->timedOut())
            return Failure{errors::kLockViolation};
        auto tree = loadTree(m_system.m_file);
        if (!tree)
            return Failure{tree.error()};
        m_system.m_tree = std::move(*tree);
        if (access == Access::Read)
            m_lock.reset();
        return {};
    }

    Status commit() override
    {
        if (!m_system.m_changed || m_system.m_file.empty())
            return {};
        const Status saved = saveTree(m_system.m_tree, m_system.m_file);
        if (!saved)
            if (auto before = loadTree(m_system.m_file))
                m_system.m_tree = std::move(*before);
        return saved;
    }

private:
    std::optional<TreeLock> m_lock;
};

Opened<CommandSession> SimulatedSystem::begin(Access access)
{
    auto session = std::make_unique<Session>(*this);
    if (const Status begun = session->begin(access); !begun)
        return Failure{begun.error()};
    return session;
}

Status SimulatedSystem::change(const std::function<Status(DeviceTree&)>& edit)
{
    const Status edited = edit(m_tree);
    m_changed = m_changed || edited;
    return edited;
}

bool SimulatedSystem::reachable(const MachineName& machine) const
{
    return machine.empty() || std::ranges::any_of(m_tree.machines, [&](const std::wstring& each) {
               return equalIgnoringCase(each, machine);
           });
}

} // namespace driver
