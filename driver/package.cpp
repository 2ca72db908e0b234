#include "driver/package.h"

namespace driver {

namespace {

/// The first `fields` fields of the key, as the INF writes them; nothing when it has not even one.
std::optional<std::wstring> versionValue(InfHandle& inf, Causes& causes, const std::wstring& fileName,
                                         const wchar_t* key, std::uint32_t fields = 1)
{
    const auto line = inf.findLine(L"Version", key);
    if (!line) {
        causes.reportUnless(errors::kLineNotFound, line.error(), fileName);
        return std::nullopt;
    }
    std::optional<std::wstring> value;
    for (std::uint32_t field = 1; field <= fields; ++field) {
        const auto text = inf.field(*line, field, limits::kInfField);
        if (!text) {
            causes.reportUnless(errors::kInvalidParameter, text.error(), fileName); // no such field
            break;
        }
        value = value ? *value + L"," + *text : *text;
    }
    return value;
}

std::wstring classNameOf(const CommandContext& context, const std::wstring& text, const std::wstring& fileName)
{
    const auto guid = parseGuid(text);
    if (!guid)
        return text;
    const auto description = context.platform.classDescription(*guid, {});
    context.causes.reportUnless(errors::kInvalidClass, description.error(), fileName);
    if (description)
        return *description;
    const auto name = context.platform.className(*guid, {});
    context.causes.reportUnless(errors::kInvalidClass, name.error(), fileName);
    return name ? *name : text;
}

std::optional<Verification> verificationOf(const CommandContext& context, const std::wstring& fileName)
{
    const auto library = context.platform.loadLibrary(L"setupapi.dll");
    const auto procedure = library ? (*library)->find("SetupVerifyInfFileW") : Failure{library.error()};
    if (!procedure) {
        context.causes.report(procedure.error(), fileName);
        return std::nullopt;
    }
    return (*library)->verifyInfFile(*procedure, fileName);
}

/// Search pattern of the store's packages.
Outcome<std::wstring> packagePattern(DriverStore& store)
{
    auto pattern = store.windowsDirectory(limits::kPath);
    if (pattern)
        *pattern += L"\\INF\\OEM*.INF";
    return pattern && pattern->size() >= limits::kPath ? Failure{errors::kNameTooLong} : std::move(pattern);
}

} // namespace

bool Package::hasSigner() const
{
    return verified && (verified->error == 0 || verified->error == errors::kTrustedPublisher);
}

Package readPackage(const CommandContext& context, const std::wstring& fileName)
{
    Package package{fileName, {}, {}, {}, {}, {}};
    const auto inf = context.platform.openInf(fileName);
    context.causes.reportUnless(0, inf.error(), fileName);
    if (inf) {
        package.provider = versionValue(**inf, context.causes, fileName, L"Provider");
        package.classGuid = versionValue(**inf, context.causes, fileName, L"ClassGUID");
        if (package.classGuid)
            package.className = classNameOf(context, *package.classGuid, fileName);
    }
    package.verified = verificationOf(context, fileName);
    if (package.verified && !package.hasSigner() && package.verified->error != errors::kTrustNotEstablished)
        context.causes.reportUnless(errors::kNoCatalog, package.verified->error, fileName);
    if (inf)
        package.version = versionValue(**inf, context.causes, fileName, L"DriverVer", 2);
    return package;
}

Outcome<std::uint32_t> forEachPackage(const CommandContext& context,
                                      const std::function<void(const std::wstring&)>& use)
{
    const auto pattern = packagePattern(context.platform);
    if (!pattern) {
        context.causes.report(pattern.error());
        return Failure{pattern.error()};
    }
    const auto search = context.platform.findFiles(*pattern);
    if (!search) {
        context.causes.reportUnless(errors::kFileNotFound, search.error());
        return std::uint32_t(0);
    }
    std::uint32_t count = 0;
    Status next;
    for (; next; ++count) {
        use((*search)->fileName());
        next = (*search)->next();
    }
    context.causes.reportUnless(errors::kNoMoreFiles, next.error());
    return count;
}

} // namespace driver
