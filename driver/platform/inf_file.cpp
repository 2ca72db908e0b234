#include "driver/platform/inf_file.h"

#include "driver/text.h"

#include <algorithm>

namespace driver {

namespace {

constexpr std::wstring_view kBlank = L" \t\r\n\f\v";

std::wstring_view trimmed(std::wstring_view text)
{
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::wstring_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::optional<std::wstring> decoded(std::string_view bytes)
{
    if (bytes.starts_with("\xFF\xFE")) {
        std::u16string units;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
            units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                           static_cast<unsigned char>(bytes[i + 1]) << 8);
        return fromUtf16(units);
    }
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    if (bytes.find('\0') != std::string_view::npos)
        return std::nullopt;
    return fromUtf8(bytes);
}

/// Position of the first of `wanted` outside quotes.
std::size_t findUnquoted(std::wstring_view text, wchar_t wanted)
{
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'"')
            quoted = !quoted;
        else if (text[i] == wanted && !quoted)
            return i;
    }
    return std::wstring_view::npos;
}

/// Without the quotes around; two quotes inside are one.
std::wstring unquoted(std::wstring_view text)
{
    text = trimmed(text);
    std::wstring result;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'"') {
            result += text[i];
        } else if (quoted && i + 1 < text.size() && text[i + 1] == L'"') {
            result += L'"';
            ++i;
        } else {
            quoted = !quoted;
        }
    }
    return result;
}

/// The next line of `rest` without its comment, joined with those after it while it ends in a backslash.
std::wstring takeLine(std::wstring_view& rest)
{
    std::wstring line;
    for (;;) {
        const std::size_t end = std::min(rest.find(L'\n'), rest.size());
        std::wstring_view part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        part = trimmed(part.substr(0, findUnquoted(part, L';')));
        const bool continued = part.ends_with(L'\\') && !rest.empty();
        line += continued ? part.substr(0, part.size() - 1) : part;
        if (!continued)
            return line;
    }
}

/// `text` with each %NAME% replaced by what `strings` has for it; one that is not there stays, %% is a percent sign.
std::wstring substituted(std::wstring_view text, const InfFile& inf)
{
    std::wstring result;
    while (!text.empty()) {
        const std::size_t first = std::min(text.find(L'%'), text.size());
        result += text.substr(0, first);
        text.remove_prefix(first);
        const std::size_t second = text.find(L'%', 1);
        if (second == std::wstring_view::npos)
            return result.append(text);
        const std::wstring_view name = text.substr(1, second - 1);
        if (const InfFile::Line* line = inf.line(L"Strings", name); line != nullptr && !line->fields.empty())
            result += line->fields.front();
        else
            result += name.empty() ? std::wstring_view(L"%") : text.substr(0, second + 1);
        text.remove_prefix(second + 1);
    }
    return result;
}

} // namespace

std::optional<InfFile> InfFile::parse(std::string_view bytes)
{
    const auto text = bytes.size() > kLargestFile ? std::nullopt : decoded(bytes);
    if (!text)
        return std::nullopt;
    InfFile inf;
    std::wstring current;
    bool inside = false;
    for (std::wstring_view rest = *text; !rest.empty();) {
        const std::wstring line = takeLine(rest);
        if (line.empty())
            continue;
        if (line.front() == L'[') {
            const std::size_t end = line.find(L']');
            inside = end != std::wstring::npos;
            current = inside ? std::wstring(trimmed(std::wstring_view(line).substr(1, end - 1))) : std::wstring();
            if (inside)
                inf.sectionToFill(current);
        } else if (inside) {
            inf.addLine(inf.sectionToFill(current), line);
        }
    }
    inf.substituteStrings();
    return inf;
}

const InfFile::Section* InfFile::section(std::wstring_view name) const
{
    const auto found =
        std::ranges::find_if(m_sections, [&](const Section& section) { return equalIgnoringCase(section.name, name); });
    return found == m_sections.end() ? nullptr : &*found;
}

const InfFile::Line* InfFile::line(std::wstring_view sectionName, std::wstring_view key) const
{
    const Section* const found = section(sectionName);
    if (found == nullptr)
        return nullptr;
    const auto line =
        std::ranges::find_if(found->lines, [&](const Line& each) { return equalIgnoringCase(each.key, key); });
    return line == found->lines.end() ? nullptr : &*line;
}

std::wstring InfFile::value(std::wstring_view sectionName, std::wstring_view key) const
{
    const Line* const found = line(sectionName, key);
    return found == nullptr || found->fields.empty() ? std::wstring() : found->fields.front();
}

InfFile::Section& InfFile::sectionToFill(std::wstring_view name)
{
    if (const Section* found = section(name))
        return m_sections[static_cast<std::size_t>(found - m_sections.data())];
    return m_sections.emplace_back(Section{std::wstring(name), {}});
}

void InfFile::addLine(Section& section, std::wstring_view text)
{
    Line line;
    if (const std::size_t equals = findUnquoted(text, L'='); equals != std::wstring_view::npos) {
        line.key = unquoted(text.substr(0, equals));
        text.remove_prefix(equals + 1);
    }
    for (;;) {
        const std::size_t comma = findUnquoted(text, L',');
        line.fields.push_back(unquoted(text.substr(0, comma)));
        if (comma == std::wstring_view::npos)
            break;
        text.remove_prefix(comma + 1);
    }
    section.lines.push_back(std::move(line));
}

void InfFile::substituteStrings()
{
    // The strings themselves are plain, so the order of the sections does not matter.
    std::vector<Section> result = m_sections;
    for (Section& section : result) {
        if (equalIgnoringCase(section.name, L"Strings"))
            continue;
        for (Line& line : section.lines) {
            line.key = substituted(line.key, *this);
            for (std::wstring& field : line.fields)
                field = substituted(field, *this);
        }
    }
    m_sections = std::move(result);
}

} // namespace driver
