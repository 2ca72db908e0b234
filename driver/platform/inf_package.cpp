#include "driver/platform/inf_package.h"

#include "driver/text.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace driver {

namespace {

/// Suffixes of a section for this kind of system, best first.
constexpr std::wstring_view kDecorations[] = {L".NTamd64", L".NT", L""};
constexpr std::uint64_t kTicksPerDay = 864'000'000'000u;

/// The numbers between `separator`s, each at most `largest`; nothing when there are not exactly `count`.
std::optional<std::vector<unsigned>> numbers(std::wstring_view text, wchar_t separator, std::size_t count,
                                             unsigned largest)
{
    std::vector<unsigned> result;
    const std::string bytes = toUtf8(text);
    const char* position = bytes.data();
    const char* const end = position + bytes.size();
    while (result.size() < count) {
        unsigned value = 0;
        const auto [next, error] = std::from_chars(position, end, value);
        if (error != std::errc() || value > largest)
            return std::nullopt;
        result.push_back(value);
        const bool more = next != end && *next == static_cast<char>(separator);
        if (more != (result.size() < count))
            return std::nullopt;
        position = more ? next + 1 : next;
    }
    return position == end ? std::optional(std::move(result)) : std::nullopt;
}

/// "1.2.3.4", or fewer parts.
std::optional<std::uint64_t> versionNumber(std::wstring_view text)
{
    const auto parts = static_cast<std::size_t>(std::ranges::count(text, L'.')) + 1;
    const auto values = parts > 4 ? std::nullopt : numbers(text, L'.', parts, 0xFFFF);
    if (!values)
        return std::nullopt;
    std::uint64_t version = 0;
    for (std::size_t i = 0; i < 4; ++i)
        version = version << 16 | (i < values->size() ? (*values)[i] : 0);
    return version;
}

/// "month/day/year" as 100 ns steps since 1601.
std::optional<std::uint64_t> dateNumber(std::wstring_view text)
{
    using namespace std::chrono;
    const auto parts = numbers(text, L'/', 3, 9999);
    if (!parts)
        return std::nullopt;
    const year_month_day date(year(static_cast<int>((*parts)[2])), month((*parts)[0]), day((*parts)[1]));
    if (!date.ok() || date.year() < year(1980))
        return std::nullopt;
    return static_cast<std::uint64_t>((sys_days(date) - sys_days(year(1601) / 1 / 1)).count()) * kTicksPerDay;
}

/// Folder of a directory number of the INF.
std::wstring folderNamed(std::wstring_view number)
{
    if (number == L"12")
        return L"C:\\Windows\\System32\\drivers\\";
    return number == L"13" ? L"C:\\Windows\\System32\\DriverStore\\" : L"C:\\Windows\\System32\\";
}

} // namespace

Outcome<InfPackage> InfPackage::read(std::string_view bytes)
{
    auto inf = InfFile::parse(bytes);
    if (!inf)
        return Failure{errors::kGeneralSyntax};
    const std::wstring signature = inf->value(L"Version", L"Signature");
    if (!equalIgnoringCase(signature, L"$Windows NT$") && !equalIgnoringCase(signature, L"$Chicago$"))
        return Failure{errors::kWrongInfStyle};

    InfPackage package(std::move(*inf));
    const auto setupClass = parseGuid(package.m_inf.value(L"Version", L"ClassGUID"));
    const InfFile::Line* const version = package.m_inf.line(L"Version", L"DriverVer");
    const bool dated = version != nullptr && version->fields.size() >= 2;
    const auto date = dated ? dateNumber(version->fields[0]) : std::nullopt;
    const auto number = dated ? versionNumber(version->fields[1]) : std::nullopt;
    package.readModels();
    if (!setupClass || !date || !number || package.m_models.empty() || package.className().empty() ||
        package.m_inf.value(L"Version", L"Provider").empty())
        return Failure{errors::kGeneralSyntax};
    package.m_class = *setupClass;
    package.m_date = *date;
    package.m_version = *number;
    return package;
}

void InfPackage::readModels()
{
    const InfFile::Section* const manufacturers = m_inf.section(L"Manufacturer");
    if (manufacturers == nullptr)
        return;
    for (const InfFile::Line& manufacturer : manufacturers->lines) {
        const std::wstring& base = manufacturer.fields.front();
        const InfFile::Section* models = nullptr;
        for (std::size_t i = 1; i < manufacturer.fields.size() && models == nullptr; ++i)
            models = m_inf.section(base + L"." + manufacturer.fields[i]);
        if (models == nullptr)
            models = m_inf.section(base);
        if (models == nullptr)
            continue;
        for (const InfFile::Line& line : models->lines)
            if (line.fields.size() >= 2 && !line.fields[0].empty() && !line.fields[1].empty())
                m_models.push_back(
                    {line.key, manufacturer.key, line.fields[0], TextList(line.fields.begin() + 1, line.fields.end())});
    }
}

const InfModel* InfPackage::modelFor(const TextList& ids) const
{
    for (const std::wstring& id : ids)
        for (const InfModel& model : m_models)
            if (std::ranges::any_of(model.ids, [&](const std::wstring& own) { return equalIgnoringCase(own, id); }))
                return &model;
    return nullptr;
}

SimulatedDriver InfPackage::driver(const InfModel& model, const std::wstring& infName) const
{
    return {infName,   model.section, model.description, model.manufacturer, m_inf.value(L"Version", L"Provider"),
            m_version, m_date,        files(model)};
}

std::vector<InfFile::Line> InfPackage::installLines(const InfModel& model, std::wstring_view suffix,
                                                    std::wstring_view key) const
{
    for (const std::wstring_view decoration : kDecorations) {
        const auto* section = m_inf.section(model.section + std::wstring(decoration) + std::wstring(suffix));
        if (section == nullptr)
            continue;
        std::vector<InfFile::Line> lines = section->lines;
        std::erase_if(lines, [&](const InfFile::Line& line) { return !equalIgnoringCase(line.key, key); });
        return lines;
    }
    return {};
}

TextList InfPackage::files(const InfModel& model) const
{
    TextList files;
    const auto add = [&](std::wstring_view list, const std::wstring& name) {
        std::wstring folder = m_inf.value(L"DestinationDirs", list);
        if (folder.empty())
            folder = m_inf.value(L"DestinationDirs", L"DefaultDestDir");
        if (!name.empty())
            files.push_back(folderNamed(folder) + name);
    };
    for (const InfFile::Line& line : installLines(model, L"", L"CopyFiles")) {
        for (const std::wstring& name : line.fields) {
            if (name.starts_with(L'@'))
                add(L"DefaultDestDir", name.substr(1));
            else if (const InfFile::Section* const list = m_inf.section(name))
                for (const InfFile::Line& file : list->lines)
                    add(name, file.fields.front());
        }
    }
    return files;
}

std::wstring InfPackage::service(const InfModel& model) const
{
    for (const InfFile::Line& line : installLines(model, L".Services", L"AddService"))
        if (!line.fields.front().empty())
            return line.fields.front();
    return {};
}

std::vector<Guid> InfPackage::interfaces(const InfModel& model) const
{
    std::vector<Guid> result;
    for (const InfFile::Line& line : installLines(model, L".Interfaces", L"AddInterface"))
        if (const auto guid = parseGuid(line.fields.front()))
            result.push_back(*guid);
    return result;
}

bool InfPackage::needsReboot(const InfModel& model) const
{
    return std::ranges::any_of(installLines(model, L"", L""), [](const InfFile::Line& line) {
        return equalIgnoringCase(line.fields.front(), L"Reboot");
    });
}

} // namespace driver
