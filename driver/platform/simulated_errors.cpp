#include "driver/platform/simulated_system.h"

#include <algorithm>
#include <iterator>

namespace driver {

namespace {

struct ErrorText
{
    ErrorCode error;
    const wchar_t* text;
};

constexpr ErrorText kTexts[] = {
    {errors::kFileNotFound, L"There is no such file or value."},
    {errors::kAccessDenied, L"It is not allowed."},
    {errors::kInvalidData, L"The data are not of that kind."},
    {errors::kWriteFault, L"The file of the simulated system cannot be written."},
    {errors::kReadFault, L"The file of the simulated system cannot be read."},
    {errors::kLockViolation, L"Another program has been changing the simulated system all the time."},
    {errors::kBadNetworkPath, L"There is no such machine."},
    {errors::kInvalidParameter, L"The system was asked for something that does not exist."},
    {errors::kInsufficientBuffer, L"The text is too long."},
    {errors::kInvalidName, L"That is no name of a file."},
    {errors::kModuleNotFound, L"There is no such library."},
    {errors::kProcedureNotFound, L"The library has no such function."},
    {errors::kNameTooLong, L"The name is too long."},
    {errors::kFileTooLarge, L"The file of the simulated system is too large."},
    {errors::kNoMoreItems, L"The driver package has no driver for this hardware id."},
    {errors::kServiceDoesNotExist, L"There is no such service."},
    {errors::kNotFound, L"There is no such entry."},
    {errors::kFileCorrupt, L"The file of the simulated system holds no device tree."},
    {errors::kGeneralSyntax, L"The INF file is not written as a driver package's is."},
    {errors::kWrongInfStyle, L"The INF file is none for this system."},
    {errors::kInvalidClass, L"There is no such setup class."},
    {errors::kNoSuchDevice, L"There is no such device."},
    {errors::kNotDisableable, L"The device does not let itself be changed."},
    {errors::kNotAnInstalledOemInf, L"That is no name of an added driver package."},
    {errors::kInfInUseByDevices, L"Devices use this driver package."},
};

} // namespace

std::wstring SimulatedSystem::errorText(ErrorCode error)
{
    const auto found = std::ranges::find(kTexts, error, &ErrorText::error);
    return found == std::end(kTexts) ? std::wstring() : found->text;
}

} // namespace driver
