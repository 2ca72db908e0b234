#include "media/host_controller_reset.h"

#include <windows.h>

#include <memory>

namespace {

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

constexpr DWORD kResetRequest = 0x2A4024; // Device type 0x2A, function 9, buffered, read access.

} // namespace

bool sendHostControllerReset(const std::wstring& path)
{
    const HANDLE opened = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_OVERLAPPED, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return false;
    const Handle device(opened);
    const Handle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!done)
        return false;
    OVERLAPPED overlapped = {};
    overlapped.hEvent = done.get();
    DWORD input = 0;
    DWORD transferred = 0;
    if (DeviceIoControl(device.get(), kResetRequest, &input, sizeof input, nullptr, 0, nullptr, &overlapped))
        return true;
    return GetLastError() == ERROR_IO_PENDING && GetOverlappedResult(device.get(), &overlapped, &transferred, TRUE);
}
