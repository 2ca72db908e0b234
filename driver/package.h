// package.h: the packages of the driver store and what they say about themselves.
#pragma once

#include "driver/command.h"

#include <functional>
#include <optional>
#include <string>

namespace driver {

/// Values as the INF writes them; nothing for what it does not have.
struct Package
{
    std::wstring fileName;
    std::optional<std::wstring> provider;
    std::optional<std::wstring> classGuid;
    std::optional<std::wstring> className; ///< the class's description, its name without one, else the GUID's text
    std::optional<std::wstring> version;   ///< date and version with a comma between them
    std::optional<Verification> verified;  ///< nothing when the system could not be asked

    /// Whether the system knows who signed it.
    bool hasSigner() const;
};

/// Failures are reported.
Package readPackage(const CommandContext& context, const std::wstring& fileName);

/// Calls `use` with each package's file name and returns how many there are. Failures are reported.
Outcome<std::uint32_t> forEachPackage(const CommandContext& context,
                                      const std::function<void(const std::wstring&)>& use);

} // namespace driver
