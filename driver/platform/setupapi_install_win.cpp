// Installing and changing devices, INF files, the driver store.
#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_platform.h"

#include <string_view>

namespace driver {

namespace {

struct SetupInf final : InfHandle
{
    explicit SetupInf(HINF handle) : inf(handle) {}
    OpenInf inf;
    std::vector<INFCONTEXT> lines;
};

/// What SetupVerifyInfFileW fills in; the toolchain's headers do not have it.
struct InfSigner
{
    DWORD size = sizeof(InfSigner);
    wchar_t catalogFile[MAX_PATH] = {};
    wchar_t digitalSigner[MAX_PATH] = {};
    wchar_t digitalSignerVersion[MAX_PATH] = {};
};

using UpdateDriverFunction = BOOL(WINAPI*)(HWND, LPCWSTR, LPCWSTR, DWORD, PBOOL);
using NonInteractiveFunction = BOOL(WINAPI*)(BOOL);
using UninstallFunction = BOOL(WINAPI*)(PCWSTR, DWORD, PVOID);
using VerifyFunction = BOOL(WINAPI*)(PCWSTR, PVOID, InfSigner*);

template<class Function>
Function functionOf(Procedure procedure)
{
    return reinterpret_cast<Function>(static_cast<std::uintptr_t>(procedure));
}

/// Class-install parameters of one kind; their header says how large they are without it and what they are for.
template<class Parameters>
Parameters parametersFor(DI_FUNCTION function)
{
    Parameters parameters{};
    parameters.ClassInstallHeader.cbSize = sizeof(parameters.ClassInstallHeader);
    parameters.ClassInstallHeader.InstallFunction = function;
    return parameters;
}

} // namespace

Outcome<DeviceIndex> SetupApiPlatform::createDevice(DeviceList& list, const std::wstring& className,
                                                    const Guid& setupClass)
{
    const GUID guid = systemGuid(setupClass);
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    if (!SetupDiCreateDeviceInfoW(setOf(list), className.c_str(), &guid, nullptr, nullptr, DICD_GENERATE_ID, &data))
        return Outcome<DeviceIndex>::failed(lastError());
    return static_cast<SetupDeviceList&>(list).add(data);
}

Status SetupApiPlatform::setStateChange(DeviceList& list, DeviceIndex device, StateChange change, std::uint32_t scope)
{
    auto parameters = parametersFor<SP_PROPCHANGE_PARAMS>(DIF_PROPERTYCHANGE);
    parameters.StateChange = static_cast<DWORD>(change);
    parameters.Scope = scope;
    return statusOf(SetupDiSetClassInstallParamsW(setOf(list), dataOf(list, device), &parameters.ClassInstallHeader,
                                                  sizeof(parameters)));
}

Status SetupApiPlatform::setRemoval(DeviceList& list, DeviceIndex device, std::uint32_t scope)
{
    auto parameters = parametersFor<SP_REMOVEDEVICE_PARAMS>(DIF_REMOVE);
    parameters.Scope = scope;
    return statusOf(SetupDiSetClassInstallParamsW(setOf(list), dataOf(list, device), &parameters.ClassInstallHeader,
                                                  sizeof(parameters)));
}

Status SetupApiPlatform::callClassInstaller(InstallFunction function, DeviceList& list, DeviceIndex device)
{
    return statusOf(SetupDiCallClassInstaller(static_cast<DI_FUNCTION>(function), setOf(list), dataOf(list, device)));
}

Outcome<std::uint32_t> SetupApiPlatform::installFlags(DeviceList& list, DeviceIndex device)
{
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    if (!SetupDiGetDeviceInstallParamsW(setOf(list), dataOf(list, device), &parameters))
        return Outcome<std::uint32_t>::failed(lastError());
    return static_cast<std::uint32_t>(parameters.Flags);
}

Outcome<InfClass> SetupApiPlatform::infClass(const std::wstring& infPath, std::size_t nameCapacity)
{
    std::vector<wchar_t> name(nameCapacity);
    GUID guid{};
    if (!SetupDiGetINFClassW(infPath.c_str(), &guid, name.data(), static_cast<DWORD>(name.size()), nullptr))
        return Outcome<InfClass>::failed(lastError());
    return InfClass{guidOf(guid), name.data()};
}

Outcome<StoredInf> SetupApiPlatform::copyOemInf(const std::wstring& infPath, std::size_t capacity)
{
    std::vector<wchar_t> destination(capacity);
    wchar_t* fileName = nullptr;
    if (!SetupCopyOEMInfW(infPath.c_str(), nullptr, SPOST_PATH, 0, destination.data(),
                          static_cast<DWORD>(destination.size()), nullptr, &fileName))
        return Outcome<StoredInf>::failed(lastError());
    return StoredInf{destination.data(), fileName == nullptr ? destination.data() : fileName};
}

Opened<InfHandle> SetupApiPlatform::openInf(const std::wstring& name)
{
    const HINF handle = SetupOpenInfFileW(name.c_str(), nullptr, INF_STYLE_WIN4, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return Opened<InfHandle>::failed(lastError());
    return Opened<InfHandle>(std::make_unique<SetupInf>(handle));
}

Outcome<InfLine> SetupApiPlatform::findInfLine(InfHandle& inf, const std::wstring& section, const std::wstring& key)
{
    auto& state = static_cast<SetupInf&>(inf);
    INFCONTEXT context{};
    if (!SetupFindFirstLineW(state.inf.get(), section.c_str(), key.c_str(), &context))
        return Outcome<InfLine>::failed(lastError());
    state.lines.push_back(context);
    return static_cast<InfLine>(state.lines.size() - 1);
}

Outcome<std::wstring> SetupApiPlatform::infField(InfHandle& inf, InfLine line, std::uint32_t field,
                                                 std::size_t capacity)
{
    auto& state = static_cast<SetupInf&>(inf);
    std::vector<wchar_t> text(capacity);
    if (!SetupGetStringFieldW(&state.lines.at(static_cast<std::size_t>(line)), field, text.data(),
                              static_cast<DWORD>(text.size()), nullptr))
        return Outcome<std::wstring>::failed(lastError());
    return std::wstring(text.data());
}

Opened<LoadedLibrary> SetupApiPlatform::loadLibrary(const std::wstring& name)
{
    Library library(LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!library)
        return Opened<LoadedLibrary>::failed(lastError());
    return Opened<LoadedLibrary>(std::make_unique<SetupLibrary>(std::move(library)));
}

Outcome<Procedure> SetupApiPlatform::findProcedure(LoadedLibrary& library, const char* name)
{
    const FARPROC found = GetProcAddress(static_cast<SetupLibrary&>(library).owner.get(), name);
    if (found == nullptr)
        return Outcome<Procedure>::failed(lastError());
    return static_cast<Procedure>(reinterpret_cast<std::uintptr_t>(found));
}

Outcome<bool> SetupApiPlatform::updateDriver(Procedure procedure, const std::wstring& hardwareId,
                                             const std::wstring& infPath, std::uint32_t flags)
{
    BOOL rebootNeeded = FALSE;
    if (!functionOf<UpdateDriverFunction>(procedure)(nullptr, hardwareId.c_str(), infPath.c_str(), flags,
                                                     &rebootNeeded))
        return Outcome<bool>::failed(lastError());
    return rebootNeeded != FALSE;
}

bool SetupApiPlatform::setNonInteractiveMode(Procedure procedure, bool on)
{
    return functionOf<NonInteractiveFunction>(procedure)(on ? TRUE : FALSE) != FALSE;
}

Status SetupApiPlatform::uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags)
{
    return statusOf(functionOf<UninstallFunction>(procedure)(fileName.c_str(), flags, nullptr));
}

DevicePlatform::Verification SetupApiPlatform::verifyInfFile(Procedure procedure, const std::wstring& infName)
{
    InfSigner signer;
    const bool verified = functionOf<VerifyFunction>(procedure)(infName.c_str(), nullptr, &signer) != FALSE;
    const ErrorCode error = verified ? 0 : lastError();
    return {verified || error != 0 ? error : errors::kGeneralFailure, signer.digitalSigner};
}

} // namespace driver
