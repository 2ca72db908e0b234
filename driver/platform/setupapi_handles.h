// setupapi_handles.h: owners of what SetupAPI, the configuration manager and their neighbours open.
#pragma once

#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

#include <memory>

namespace driver {

template<auto close>
struct Closer
{
    template<class Handle>
    void operator()(Handle handle) const
    {
        close(handle);
    }
};

template<class Handle, auto close>
using Owner = std::unique_ptr<std::remove_pointer_t<Handle>, Closer<close>>;

using DeviceInfoSet = Owner<HDEVINFO, SetupDiDestroyDeviceInfoList>;
using OpenInf = Owner<HINF, SetupCloseInfFile>;
using FileQueue = Owner<HSPFILEQ, SetupCloseFileQueue>;
using FindHandle = Owner<HANDLE, FindClose>;
using KernelHandle = Owner<HANDLE, CloseHandle>;
using MachineConnection = Owner<HMACHINE, CM_Disconnect_Machine>;
using OpenKey = Owner<HKEY, RegCloseKey>;
using OpenedService = Owner<SC_HANDLE, CloseServiceHandle>;
using Library = Owner<HMODULE, FreeLibrary>;

/// A handle of the configuration manager, which is a number and 0 for none; move-only.
template<auto close>
class NumberedHandle
{
public:
    explicit NumberedHandle(DWORD_PTR handle = 0) : m_handle(reinterpret_cast<void*>(handle)) {}
    DWORD_PTR get() const { return reinterpret_cast<DWORD_PTR>(m_handle.get()); }

private:
    struct CloseNumber
    {
        void operator()(void* handle) const { close(reinterpret_cast<DWORD_PTR>(handle)); }
    };
    std::unique_ptr<void, CloseNumber> m_handle;
};

using LogConf = NumberedHandle<CM_Free_Log_Conf_Handle>;
using ResDes = NumberedHandle<CM_Free_Res_Des_Handle>;

} // namespace driver
