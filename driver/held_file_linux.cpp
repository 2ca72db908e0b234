#include "driver/sealed_package.h"

#include <fstream>

namespace driver {

std::optional<HeldFile> holdFile(const std::filesystem::path& path, std::size_t mostBytes)
{
    std::error_code failed;
    if (!std::filesystem::is_regular_file(path, failed)) // a pipe would be waited for
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    HeldFile held;
    const auto size = std::filesystem::file_size(path, failed);
    if (failed || size > mostBytes)
        return std::nullopt;
    held.bytes.resize(static_cast<std::size_t>(size));
    if (!file.read(held.bytes.data(), static_cast<std::streamsize>(size)))
        return std::nullopt;
    return held;
}

} // namespace driver
