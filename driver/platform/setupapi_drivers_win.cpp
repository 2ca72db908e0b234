#include "driver/platform/setupapi_objects.h"

#include "driver/platform/setupapi_values.h"

namespace driver {

namespace {

/// Puts a device's install parameters back as they were.
class RestoredParameters
{
public:
    RestoredParameters(HDEVINFO set, SP_DEVINFO_DATA* device)
        : m_set(set)
        , m_device(device)
        , m_before(sized<SP_DEVINSTALL_PARAMS_W>())
        , m_known(SetupDiGetDeviceInstallParamsW(set, device, &m_before))
    {}
    ~RestoredParameters()
    {
        if (m_known)
            SetupDiSetDeviceInstallParamsW(m_set, m_device, &m_before);
    }
    RestoredParameters(const RestoredParameters&) = delete;
    RestoredParameters& operator=(const RestoredParameters&) = delete;

    bool known() const { return m_known; }
    const SP_DEVINSTALL_PARAMS_W& before() const { return m_before; }

private:
    HDEVINFO m_set;
    SP_DEVINFO_DATA* m_device;
    SP_DEVINSTALL_PARAMS_W m_before;
    BOOL m_known;
};

UINT WINAPI collectTarget(PVOID context, UINT notification, UINT_PTR first, UINT_PTR)
{
    if (notification == SPFILENOTIFY_QUEUESCAN_EX)
        static_cast<TextList*>(context)->push_back(reinterpret_cast<const FILEPATHS_W*>(first)->Target);
    return NO_ERROR;
}

class SetupDriverList final : public DriverList
{
public:
    SetupDriverList(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD type)
        : m_set(set)
        , m_device(device)
        , m_type(type)
        , m_parameters(set, device)
    {}
    ~SetupDriverList() override
    {
        if (m_built)
            SetupDiDestroyDriverInfoList(m_set, m_device, m_type);
    }

    Status build(DWORD extendedFlags)
    {
        SP_DEVINSTALL_PARAMS_W parameters = m_parameters.before();
        parameters.FlagsEx |= extendedFlags;
        if (!m_parameters.known() || !SetupDiSetDeviceInstallParamsW(m_set, m_device, &parameters) ||
            !SetupDiBuildDriverInfoList(m_set, m_device, m_type))
            return lastFailure();
        m_built = true;
        return {};
    }

    Outcome<DriverInfo> at(std::uint32_t position) override
    {
        const auto info = data(position);
        if (!info)
            return Failure{info.error()};
        const auto date =
            static_cast<std::uint64_t>(info->DriverDate.dwHighDateTime) << 32 | info->DriverDate.dwLowDateTime;
        return DriverInfo{info->Description, info->MfgName, info->ProviderName, info->DriverVersion, date};
    }

    Outcome<DriverDetail> detail(std::uint32_t position) override
    {
        auto info = data(position);
        if (!info)
            return Failure{info.error()};
        auto detail = sized<SP_DRVINFO_DETAIL_DATA_W>();
        // The ids after the structure do not fit it; everything that is wanted is in it all the same.
        if (!SetupDiGetDriverInfoDetailW(m_set, m_device, &*info, &detail, sizeof(detail), nullptr) &&
            GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return lastFailure();
        return DriverDetail{detail.InfFileName, detail.SectionName};
    }

    Outcome<TextList> files(std::uint32_t position) override
    {
        auto info = data(position);
        if (!info)
            return Failure{info.error()};
        if (!SetupDiSetSelectedDriverW(m_set, m_device, &*info))
            return lastFailure();
        auto files = queuedFiles();
        SetupDiSetSelectedDriverW(m_set, m_device, nullptr);
        return files;
    }

private:
    Outcome<SP_DRVINFO_DATA_V2_W> data(std::uint32_t position)
    {
        auto info = sized<SP_DRVINFO_DATA_V2_W>();
        if (!SetupDiEnumDriverInfoW(m_set, m_device, m_type, position, &info))
            return lastFailure();
        return info;
    }

    /// What installing the selected driver would copy, found by queueing its files and never committing the queue.
    Outcome<TextList> queuedFiles()
    {
        const HSPFILEQ opened = SetupOpenFileQueue();
        if (opened == INVALID_HANDLE_VALUE) // which must not reach the owner, who would close it
            return lastFailure();
        const FileQueue queue(opened);
        const RestoredParameters restored(m_set, m_device);
        SP_DEVINSTALL_PARAMS_W parameters = restored.before();
        parameters.FileQueue = queue.get();
        parameters.Flags |= DI_NOVCP;
        TextList files;
        DWORD result = 0;
        if (!restored.known() || !SetupDiSetDeviceInstallParamsW(m_set, m_device, &parameters) ||
            !SetupDiCallClassInstaller(DIF_INSTALLDEVICEFILES, m_set, m_device) ||
            !SetupScanFileQueueW(queue.get(), SPQ_SCAN_USE_CALLBACKEX, nullptr, collectTarget, &files, &result))
            return lastFailure();
        return files;
    }

    HDEVINFO m_set;
    SP_DEVINFO_DATA* m_device;
    DWORD m_type;
    RestoredParameters m_parameters;
    bool m_built = false;
};

} // namespace

Opened<DriverList> buildSetupDriverList(HDEVINFO set, SP_DEVINFO_DATA* device, DriverListKind kind)
{
    const bool installed = kind == DriverListKind::Installed;
    auto drivers = std::make_unique<SetupDriverList>(set, device, installed ? SPDIT_CLASSDRIVER : SPDIT_COMPATDRIVER);
    const Status built = drivers->build(DI_FLAGSEX_ALLOWEXCLUDEDDRVS | (installed ? DI_FLAGSEX_INSTALLEDDRIVER : 0));
    if (!built)
        return Failure{built.error()};
    return drivers;
}

} // namespace driver
