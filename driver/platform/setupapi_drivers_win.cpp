// Driver lists of a device and the files of a driver.
#include "driver/platform/setupapi_objects.h"
#include "driver/platform/setupapi_platform.h"

namespace driver {

namespace {

SP_DEVINSTALL_PARAMS_W emptyParameters()
{
    SP_DEVINSTALL_PARAMS_W parameters{};
    parameters.cbSize = sizeof(parameters);
    return parameters;
}

/// Puts a device's install parameters back as they were.
class RestoredParameters
{
public:
    RestoredParameters(HDEVINFO set, SP_DEVINFO_DATA* device)
        : m_set(set)
        , m_device(device)
        , m_before(emptyParameters())
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

struct SetupDriverList final : DriverList
{
    SetupDriverList(HDEVINFO deviceSet, SP_DEVINFO_DATA* listed, DWORD listType)
        : set(deviceSet)
        , device(listed)
        , type(listType)
        , parameters(deviceSet, listed)
    {}
    ~SetupDriverList() override
    {
        if (built)
            SetupDiDestroyDriverInfoList(set, device, type);
    }

    HDEVINFO set;
    SP_DEVINFO_DATA* device;
    DWORD type;
    RestoredParameters parameters;
    bool built = false;
};

Outcome<SP_DRVINFO_DATA_V2_W> driverData(SetupDriverList& list, std::uint32_t position)
{
    SP_DRVINFO_DATA_V2_W info{};
    info.cbSize = sizeof(info);
    if (!SetupDiEnumDriverInfoW(list.set, list.device, list.type, position, &info))
        return Outcome<SP_DRVINFO_DATA_V2_W>::failed(lastError());
    return info;
}

UINT WINAPI collectTarget(PVOID context, UINT notification, UINT_PTR first, UINT_PTR)
{
    if (notification == SPFILENOTIFY_QUEUESCAN_EX)
        static_cast<TextList*>(context)->push_back(reinterpret_cast<const FILEPATHS_W*>(first)->Target);
    return NO_ERROR;
}

/// What installing the selected driver would copy, found by queueing its files and never committing the queue.
Outcome<TextList> queuedFiles(SetupDriverList& list)
{
    const HSPFILEQ opened = SetupOpenFileQueue();
    if (opened == INVALID_HANDLE_VALUE) // which must not reach the owner, who would close it
        return Outcome<TextList>::failed(lastError());
    const FileQueue queue(opened);
    const RestoredParameters restored(list.set, list.device);
    SP_DEVINSTALL_PARAMS_W parameters = restored.before();
    parameters.FileQueue = queue.get();
    parameters.Flags |= DI_NOVCP;
    TextList files;
    DWORD result = 0;
    if (!restored.known() || !SetupDiSetDeviceInstallParamsW(list.set, list.device, &parameters) ||
        !SetupDiCallClassInstaller(DIF_INSTALLDEVICEFILES, list.set, list.device) ||
        !SetupScanFileQueueW(queue.get(), SPQ_SCAN_USE_CALLBACKEX, nullptr, collectTarget, &files, &result))
        return Outcome<TextList>::failed(lastError());
    return files;
}

} // namespace

Opened<DriverList> SetupApiPlatform::buildDriverList(DeviceList& list, DeviceIndex device, DriverListKind kind)
{
    const bool installed = kind == DriverListKind::Installed;
    auto drivers = std::make_unique<SetupDriverList>(setOf(list), dataOf(list, device),
                                                     installed ? SPDIT_CLASSDRIVER : SPDIT_COMPATDRIVER);
    SP_DEVINSTALL_PARAMS_W parameters = drivers->parameters.before();
    parameters.FlagsEx |= DI_FLAGSEX_ALLOWEXCLUDEDDRVS | (installed ? DI_FLAGSEX_INSTALLEDDRIVER : 0);
    if (!drivers->parameters.known() || !SetupDiSetDeviceInstallParamsW(drivers->set, drivers->device, &parameters) ||
        !SetupDiBuildDriverInfoList(drivers->set, drivers->device, drivers->type))
        return Opened<DriverList>::failed(lastError());
    drivers->built = true;
    return Opened<DriverList>(std::move(drivers));
}

Outcome<DriverInfo> SetupApiPlatform::driverAt(DriverList& drivers, std::uint32_t position)
{
    const auto info = driverData(static_cast<SetupDriverList&>(drivers), position);
    if (!info)
        return Outcome<DriverInfo>::failed(info.error());
    const auto date =
        static_cast<std::uint64_t>(info->DriverDate.dwHighDateTime) << 32 | info->DriverDate.dwLowDateTime;
    return DriverInfo{info->Description, info->MfgName, info->ProviderName, info->DriverVersion, date};
}

Outcome<DriverDetail> SetupApiPlatform::driverDetail(DriverList& drivers, std::uint32_t position)
{
    auto& list = static_cast<SetupDriverList&>(drivers);
    auto info = driverData(list, position);
    if (!info)
        return Outcome<DriverDetail>::failed(info.error());
    SP_DRVINFO_DETAIL_DATA_W detail{};
    detail.cbSize = sizeof(detail);
    // The ids after the structure do not fit it; everything that is wanted is in it all the same.
    if (!SetupDiGetDriverInfoDetailW(list.set, list.device, &*info, &detail, sizeof(detail), nullptr) &&
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return Outcome<DriverDetail>::failed(lastError());
    return DriverDetail{detail.InfFileName, detail.SectionName};
}

Outcome<TextList> SetupApiPlatform::driverFiles(DriverList& drivers, std::uint32_t position)
{
    auto& list = static_cast<SetupDriverList&>(drivers);
    auto info = driverData(list, position);
    if (!info)
        return Outcome<TextList>::failed(info.error());
    if (!SetupDiSetSelectedDriverW(list.set, list.device, &*info))
        return Outcome<TextList>::failed(lastError());
    auto files = queuedFiles(list);
    SetupDiSetSelectedDriverW(list.set, list.device, nullptr);
    return files;
}

} // namespace driver
