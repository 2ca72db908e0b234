#include "driver/platform/setupapi_objects.h"

#include "driver/platform/setupapi_values.h"

#include <newdev.h>

#include <vector>

namespace driver {

namespace {

class SetupInf final : public InfHandle
{
public:
    explicit SetupInf(HINF handle) : m_inf(handle) {}

    Outcome<InfLine> findLine(const std::wstring& section, const std::wstring& key) override
    {
        INFCONTEXT context{};
        if (!SetupFindFirstLineW(m_inf.get(), section.c_str(), key.c_str(), &context))
            return lastFailure();
        m_lines.push_back(context);
        return static_cast<InfLine>(m_lines.size() - 1);
    }

    Outcome<std::wstring> field(InfLine line, std::uint32_t field, std::size_t capacity) override
    {
        std::vector<wchar_t> text(capacity);
        if (!SetupGetStringFieldW(&m_lines.at(static_cast<std::size_t>(line)), field, text.data(),
                                  static_cast<DWORD>(text.size()), nullptr))
            return lastFailure();
        return std::wstring(text.data());
    }

private:
    OpenInf m_inf;
    std::vector<INFCONTEXT> m_lines;
};

/// A procedure as the type that a header declares its function with.
template<class Function>
Function* functionOf(Procedure procedure)
{
    return reinterpret_cast<Function*>(static_cast<std::uintptr_t>(procedure));
}

class SetupLibrary final : public LoadedLibrary
{
public:
    explicit SetupLibrary(Library library) : m_library(std::move(library)) {}

    Outcome<Procedure> find(const char* name) override
    {
        const FARPROC found = GetProcAddress(m_library.get(), name);
        if (found == nullptr)
            return lastFailure();
        return static_cast<Procedure>(reinterpret_cast<std::uintptr_t>(found));
    }

    Outcome<bool> updateDriver(Procedure procedure, const std::wstring& hardwareId, const std::wstring& infPath,
                               std::uint32_t flags) override
    {
        BOOL rebootNeeded = FALSE;
        if (!functionOf<decltype(UpdateDriverForPlugAndPlayDevicesW)>(procedure)(nullptr, hardwareId.c_str(),
                                                                                 infPath.c_str(), flags, &rebootNeeded))
            return lastFailure();
        return rebootNeeded != FALSE;
    }

    bool setNonInteractiveMode(Procedure procedure, bool on) override
    {
        return functionOf<decltype(SetupSetNonInteractiveMode)>(procedure)(on ? TRUE : FALSE) != FALSE;
    }

    Status uninstallOemInf(Procedure procedure, const std::wstring& fileName, std::uint32_t flags) override
    {
        return statusOf(functionOf<decltype(SetupUninstallOEMInfW)>(procedure)(fileName.c_str(), flags, nullptr));
    }

    Verification verifyInfFile(Procedure procedure, const std::wstring& infName) override
    {
        auto signer = sized<SP_INF_SIGNER_INFO_W>();
        const bool verified =
            functionOf<decltype(SetupVerifyInfFileW)>(procedure)(infName.c_str(), nullptr, &signer) != FALSE;
        return {verified ? 0 : Status(lastFailure()).error(), signer.DigitalSigner};
    }

private:
    Library m_library;
};

} // namespace

Opened<InfHandle> openSetupInf(const std::wstring& name)
{
    const HINF handle = SetupOpenInfFileW(name.c_str(), nullptr, INF_STYLE_WIN4, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return lastFailure();
    return std::make_unique<SetupInf>(handle);
}

Opened<LoadedLibrary> loadSetupLibrary(const std::wstring& name)
{
    Library library(LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!library)
        return lastFailure();
    return std::make_unique<SetupLibrary>(std::move(library));
}

} // namespace driver
