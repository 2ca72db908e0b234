#include "driver/sealed_package.h"

#include "driver/sha256.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::size_t kMostBytes = 64 * 1024 * 1024;
constexpr const wchar_t* kSealed = L"--sealed";
constexpr std::size_t kSealSize = 3; // arguments

std::filesystem::path pathOf(std::wstring text)
{
    std::ranges::replace(text, L'\\', L'/');
    return text;
}

/// Sorted, as every system is to come to the same hash.
std::vector<std::filesystem::path> cataloguesBeside(const std::filesystem::path& inf)
{
    std::vector<std::filesystem::path> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(inf.parent_path(), ignored)) {
        std::u8string extension = entry.path().extension().u8string();
        std::ranges::transform(extension, extension.begin(),
                               [](char8_t c) { return c >= u8'A' && c <= u8'Z' ? char8_t(c + 32) : c; });
        if (extension == u8".cat")
            found.push_back(entry.path());
    }
    std::ranges::sort(found);
    return found;
}

} // namespace

HeldPackage::HeldPackage(const std::wstring& inf)
{
    std::vector<std::filesystem::path> paths = cataloguesBeside(pathOf(inf));
    paths.insert(paths.begin(), pathOf(inf));
    std::string all;
    for (const std::filesystem::path& path : paths) {
        std::optional<HeldFile> file = holdFile(path, kMostBytes - std::min(all.size(), kMostBytes));
        if (!file)
            return;
        const std::u8string name = path.filename().u8string();
        all.append(name.begin(), name.end()).append(1, '\0');
        all.append(std::to_string(file->bytes.size())).append(1, '\0').append(file->bytes);
        file->bytes.clear();
        m_files.push_back(std::move(*file));
    }
    m_hash = sha256Text(all);
}

ArgumentVector sealedArguments(const std::wstring& hash, const std::wstring& inf, const ArgumentVector& joined)
{
    ArgumentVector arguments{kSealed, hash, inf};
    arguments.insert(arguments.end(), joined.begin(), joined.end());
    return arguments;
}

Seal takeSeal(ArgumentVector& arguments)
{
    Seal seal;
    if (arguments.size() <= kSealSize || arguments[1] != kSealed)
        return seal;
    seal.package.emplace(arguments[3]);
    seal.isBroken = seal.package->hash().empty() || seal.package->hash() != arguments[2];
    arguments.erase(arguments.begin() + 1, arguments.begin() + 1 + kSealSize);
    return seal;
}

} // namespace driver
