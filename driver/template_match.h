// template_match.h: how a selection argument is compared with the ids of a device.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace driver {

/// One selection argument. A leading @ makes it an instance-id template; after that a leading apostrophe makes it
/// literal: its text has no wildcard even where it contains *.
struct DeviceTemplate
{
    std::wstring text; ///< past the prefix characters
    bool instanceId = false;
    std::optional<std::size_t> wildcard; ///< position of the first *
};

DeviceTemplate parseTemplate(std::wstring_view argument);

/// Ignores the case of ASCII letters. Without a wildcard the whole strings are compared. With one, the text before it
/// must begin the subject; then each segment between stars is taken at the first place where it matches, and the last
/// segment must end the subject. A text that ends in * matches as soon as it is used up.
bool matches(const DeviceTemplate& pattern, std::wstring_view subject);

} // namespace driver
