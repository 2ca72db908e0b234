// sealed_package.h: a driver package that stays what the user was asked about until it is installed.
#pragma once

#include "driver/argument_vectors.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace driver {

/// A file's content, and what keeps others from changing the file (on Windows; elsewhere nothing does) while it lives.
struct HeldFile
{
    std::string bytes;
    std::shared_ptr<void> hold;
};

/// Nothing when the file cannot be read or is larger than that. Implemented per system.
std::optional<HeldFile> holdFile(const std::filesystem::path& path, std::size_t mostBytes);

/// The INF file of a package and the catalogues (*.cat) beside it, which sign what else belongs to it.
class HeldPackage
{
public:
    /// Either kind of separator may stand in the path.
    explicit HeldPackage(const std::wstring& inf);

    /// SHA-256 over names, sizes and contents; empty when a file cannot be read, or they are more than 64 MiB.
    const std::wstring& hash() const { return m_hash; }

private:
    std::vector<HeldFile> m_files;
    std::wstring m_hash;
};

/// The arguments of the elevated program, without its name: "--sealed", the hash and the INF file, then the vectors as
/// joinArgumentVectors() has them.
ArgumentVector sealedArguments(const std::wstring& hash, const std::wstring& inf, const ArgumentVector& joined);

/// Takes what sealedArguments() put in front away, and holds the package meanwhile.
struct Seal
{
    std::optional<HeldPackage> package; ///< nothing where no seal was given
    bool isBroken = false;              ///< the package is another one
};
Seal takeSeal(ArgumentVector& arguments);

} // namespace driver
