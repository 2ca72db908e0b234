#include "devices/device_process.h"

#include "devices/log.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include <windows.h>

namespace {

/// Start-up information with the list of the only handles that are inherited. Must live until the process was created.
class InheritanceList
{
public:
    InheritanceList() = default;
    InheritanceList(const InheritanceList&) = delete;
    InheritanceList& operator=(const InheritanceList&) = delete;

    ~InheritanceList()
    {
        if (m_startup.lpAttributeList)
            DeleteProcThreadAttributeList(m_startup.lpAttributeList);
    }

    /// Without the list, where the system refuses it, the process starts as it would have.
    void apply(QProcess::CreateProcessArguments* arguments)
    {
        m_startup.StartupInfo = *arguments->startupInfo;
        m_startup.StartupInfo.cb = sizeof m_startup;
        writeWithoutWaiting(m_startup.StartupInfo.hStdError);
        collectHandles();
        if (m_handleCount == 0 || !makeAttributes())
            return;
        arguments->startupInfo = &m_startup.StartupInfo;
        arguments->flags |= EXTENDED_STARTUPINFO_PRESENT;
    }

private:
    /// Whether anyone reads its standard error must make no difference to a device. The mode belongs to the pipe's end,
    /// which the device inherits with its handle, and not to the end that is read here. What does not fit into a full
    /// pipe is then dropped: a write succeeds with fewer bytes than it was given, down to none.
    static void writeWithoutWaiting(HANDLE pipe)
    {
        DWORD mode = PIPE_READMODE_BYTE | PIPE_NOWAIT;
        if (!SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr))
            qCWarning(devicesLog) << "A device process may wait for its standard error to be read, error"
                                  << GetLastError();
    }

    /// The system refuses a list with a null or a repeated handle.
    void collectHandles()
    {
        const STARTUPINFOW& info = m_startup.StartupInfo;
        for (HANDLE handle : {info.hStdInput, info.hStdOutput, info.hStdError}) {
            const auto end = m_handles.begin() + m_handleCount;
            if (handle && handle != INVALID_HANDLE_VALUE && std::find(m_handles.begin(), end, handle) == end)
                m_handles[m_handleCount++] = handle;
        }
    }

    bool makeAttributes()
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_storage.resize(size);
        const auto attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_storage.data());
        if (size == 0 || !InitializeProcThreadAttributeList(attributes, 1, 0, &size))
            return false;
        m_startup.lpAttributeList = attributes;
        return UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(),
                                         m_handleCount * sizeof(HANDLE), nullptr, nullptr);
    }

    STARTUPINFOEXW m_startup{};
    std::array<HANDLE, 3> m_handles{};
    std::size_t m_handleCount = 0;
    std::vector<unsigned char> m_storage;
};

} // namespace

void DeviceProcess::setupChildProcess()
{
    // There is no child to prepare before it runs on this system.
}

void DeviceProcess::restrictInheritance()
{
    const auto list = std::make_shared<InheritanceList>();
    setCreateProcessArgumentsModifier([list](CreateProcessArguments* arguments) { list->apply(arguments); });
    connect(this, &QProcess::started, this, [this] { setCreateProcessArgumentsModifier({}); });
}
