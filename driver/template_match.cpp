#include "driver/template_match.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

namespace {

constexpr wchar_t kStar = L'*';

/// Whether the segments of `text`, which begins at a star, are found in `subject` one after the other.
bool matchSegments(std::wstring_view text, std::wstring_view subject)
{
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(kStar), text.size()));
        if (text.empty())
            return true;
        const std::size_t star = text.find(kStar);
        if (star == std::wstring_view::npos)
            return subject.size() >= text.size() &&
                   equalIgnoringCase(subject.substr(subject.size() - text.size()), text);

        const std::wstring_view segment = text.substr(0, star);
        for (;;) {
            const auto first = std::ranges::find_if(
                subject, [wanted = foldCase(segment.front())](wchar_t each) { return foldCase(each) == wanted; });
            if (first == subject.end())
                return false;
            subject.remove_prefix(static_cast<std::size_t>(first - subject.begin()));
            if (equalIgnoringCase(subject.substr(0, segment.size()), segment))
                break;
            subject.remove_prefix(1);
        }
        subject.remove_prefix(segment.size());
        text.remove_prefix(segment.size());
    }
}

} // namespace

DeviceTemplate parseTemplate(std::wstring_view argument)
{
    DeviceTemplate result;
    if (argument.starts_with(L'@')) {
        result.instanceId = true;
        argument.remove_prefix(1);
    }
    if (argument.starts_with(L'\''))
        argument.remove_prefix(1);
    else if (const std::size_t star = argument.find(kStar); star != std::wstring_view::npos)
        result.wildcard = star;
    result.text = argument;
    return result;
}

bool matches(const DeviceTemplate& pattern, std::wstring_view subject)
{
    const std::wstring_view text = pattern.text;
    if (!pattern.wildcard)
        return equalIgnoringCase(text, subject);
    if (!equalIgnoringCase(subject.substr(0, *pattern.wildcard), text.substr(0, *pattern.wildcard)))
        return false;
    return matchSegments(text.substr(*pattern.wildcard), subject.substr(*pattern.wildcard));
}

} // namespace driver
