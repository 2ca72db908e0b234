#include "driver/sealed_package.h"

#include <windows.h>

namespace driver {

std::optional<HeldFile> holdFile(const std::filesystem::path& path, std::size_t mostBytes)
{
    // Others may read it, and neither write it nor put another one in its place.
    const HANDLE opened = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return std::nullopt;
    HeldFile held{{}, std::shared_ptr<void>(opened, CloseHandle)};
    LARGE_INTEGER size{};
    if (GetFileType(opened) != FILE_TYPE_DISK || !GetFileSizeEx(opened, &size) ||
        static_cast<std::uint64_t>(size.QuadPart) > mostBytes)
        return std::nullopt;
    held.bytes.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!ReadFile(opened, held.bytes.data(), static_cast<DWORD>(held.bytes.size()), &read, nullptr) ||
        read != held.bytes.size())
        return std::nullopt;
    return held;
}

} // namespace driver
