// inf_file.h: an INF file's sections, lines and fields, read from text.
#pragma once

#include "driver/registry_data.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace driver {

/// Reading is lenient as the system's own is: what is no section, key or field is left out. Names compare without the
/// case of ASCII letters. Sections that occur twice are one.
class InfFile
{
public:
    struct Line
    {
        std::wstring key; ///< empty for a line without =
        TextList fields;  ///< after the =; field number 1 is the first
    };
    struct Section
    {
        std::wstring name;
        std::vector<Line> lines;
    };

    /// Longest file that is read, in bytes.
    static constexpr std::size_t kLargestFile = 1024 * 1024;

    /// UTF-16 with a byte order mark, or UTF-8 with or without one. Nothing for a larger file, and for bytes with NULs
    /// in them otherwise.
    static std::optional<InfFile> parse(std::string_view bytes);

    const Section* section(std::wstring_view name) const;
    const Line* line(std::wstring_view section, std::wstring_view key) const;

    /// Field 1 of a line; empty when there is none.
    std::wstring value(std::wstring_view section, std::wstring_view key) const;

private:
    Section& sectionToFill(std::wstring_view name);
    void addLine(Section& section, std::wstring_view text);
    void substituteStrings();

    std::vector<Section> m_sections;
};

} // namespace driver
