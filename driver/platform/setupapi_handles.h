// setupapi_handles.h: owners of what SetupAPI, the configuration manager and their neighbours open.
#pragma once

#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <memory>
#include <utility>

namespace driver {

struct DeviceInfoSetCloser
{
    void operator()(void* handle) const { SetupDiDestroyDeviceInfoList(handle); }
};
struct InfCloser
{
    void operator()(void* handle) const { SetupCloseInfFile(handle); }
};
struct FileQueueCloser
{
    void operator()(void* handle) const { SetupCloseFileQueue(handle); }
};
struct FindCloser
{
    void operator()(void* handle) const { FindClose(handle); }
};
struct KernelCloser
{
    void operator()(void* handle) const { CloseHandle(handle); }
};
struct MachineCloser
{
    void operator()(void* handle) const { CM_Disconnect_Machine(handle); }
};
struct KeyCloser
{
    void operator()(HKEY key) const { RegCloseKey(key); }
};
struct ServiceCloser
{
    void operator()(SC_HANDLE service) const { CloseServiceHandle(service); }
};
struct LibraryCloser
{
    void operator()(HMODULE library) const { FreeLibrary(library); }
};

using DeviceInfoSet = std::unique_ptr<void, DeviceInfoSetCloser>;
using OpenInf = std::unique_ptr<void, InfCloser>;
using FileQueue = std::unique_ptr<void, FileQueueCloser>;
using FindHandle = std::unique_ptr<void, FindCloser>;
using KernelHandle = std::unique_ptr<void, KernelCloser>;
using MachineConnection = std::unique_ptr<void, MachineCloser>;
using OpenKey = std::unique_ptr<HKEY__, KeyCloser>;
using OpenedService = std::unique_ptr<SC_HANDLE__, ServiceCloser>;
using Library = std::unique_ptr<HINSTANCE__, LibraryCloser>;

/// A logical configuration; move-only.
class LogConf
{
public:
    explicit LogConf(LOG_CONF handle = 0) : m_handle(handle) {}
    LogConf(LogConf&& other) noexcept : m_handle(std::exchange(other.m_handle, 0)) {}
    LogConf& operator=(LogConf&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~LogConf()
    {
        if (m_handle != 0)
            CM_Free_Log_Conf_Handle(m_handle);
    }
    LOG_CONF get() const { return m_handle; }

private:
    LOG_CONF m_handle;
};

/// A resource descriptor; move-only.
class ResDes
{
public:
    explicit ResDes(RES_DES handle = 0) : m_handle(handle) {}
    ResDes(ResDes&& other) noexcept : m_handle(std::exchange(other.m_handle, 0)) {}
    ResDes& operator=(ResDes&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~ResDes()
    {
        if (m_handle != 0)
            CM_Free_Res_Des_Handle(m_handle);
    }
    RES_DES get() const { return m_handle; }

private:
    RES_DES m_handle;
};

} // namespace driver
