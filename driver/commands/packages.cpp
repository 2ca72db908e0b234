#include "driver/commands/commands.h"

namespace driver {

namespace {

constexpr const wchar_t* kSetupLibrary = L"setupapi.dll";

/// Why the store kept a package.
Message reasonKept(ErrorCode error)
{
    switch (error) {
    case errors::kInfInUseByDevices:
        return Message::PackageInUse;
    case errors::kNotAnInstalledOemInf:
        return Message::PackageNotInstalled;
    default:
        return Message::PackageNotDeleted;
    }
}

Status uninstall(const CommandContext& context, const std::wstring& fileName)
{
    const auto library = context.platform.loadLibrary(kSetupLibrary);
    if (!library)
        return Status::failed(library.error());
    const auto procedure = context.platform.findProcedure(**library, "SetupUninstallOEMInfW");
    if (!procedure)
        return Status::failed(procedure.error());
    return context.platform.uninstallOemInf(*procedure, fileName, context.flags & kForceFlag);
}

/// Prints what the packages of the store say about themselves.
class PackageDetails
{
public:
    explicit PackageDetails(const CommandContext& context) : m_platform(context.platform), m_printer(context.printer) {}

    /// False when the signer could not be asked for.
    bool show(const std::wstring& fileName)
    {
        m_printer.message(Message::Package, {fileName});
        const auto inf = m_platform.openInf(fileName);
        showValue(versionValue(inf, L"Provider"), Message::PackageProvider, Message::PackageNoProvider);
        auto setupClass = versionValue(inf, L"ClassGUID");
        if (setupClass)
            setupClass = shownClass(*setupClass);
        showValue(setupClass, Message::PackageClass, Message::PackageNoClass);
        const bool verified = showSigner(fileName);
        showValue(versionValue(inf, L"DriverVer", 2), Message::PackageVersion, Message::PackageNoVersion);
        return verified;
    }

private:
    /// The first `fields` fields of the key, as the INF writes them; nothing when it has not even one.
    std::optional<std::wstring> versionValue(const Opened<InfHandle>& inf, const wchar_t* key, std::uint32_t fields = 1)
    {
        if (!inf)
            return std::nullopt;
        const auto line = m_platform.findInfLine(**inf, L"Version", key);
        if (!line)
            return std::nullopt;
        std::optional<std::wstring> value;
        for (std::uint32_t field = 1; field <= fields; ++field) {
            const auto text = m_platform.infField(**inf, *line, field, limits::kInfField);
            if (!text)
                break;
            value = value ? *value + L"," + *text : *text;
        }
        return value;
    }

    /// The class's description, its name without one, or the text itself when no such class is known here.
    std::wstring shownClass(const std::wstring& text)
    {
        const auto guid = parseGuid(text);
        if (!guid)
            return text;
        if (const auto description = m_platform.classDescription(*guid, {}))
            return *description;
        const auto name = m_platform.className(*guid, {});
        return name ? *name : text;
    }

    void showValue(const std::optional<std::wstring>& value, Message present, Message missing)
    {
        if (value)
            m_printer.message(present, {*value});
        else
            m_printer.message(missing);
    }

    bool showSigner(const std::wstring& fileName)
    {
        const auto library = m_platform.loadLibrary(kSetupLibrary);
        if (!library)
            return false;
        const auto procedure = m_platform.findProcedure(**library, "SetupVerifyInfFileW");
        if (!procedure)
            return false;
        const auto verdict = m_platform.verifyInfFile(*procedure, fileName);
        if (verdict.error == 0 || verdict.error == errors::kTrustedPublisher)
            m_printer.message(Message::PackageSigner, {verdict.signer});
        else if (verdict.error != errors::kTrustNotEstablished)
            m_printer.message(Message::PackageNoSigner);
        return true;
    }

    DevicePlatform& m_platform;
    Printer& m_printer;
};

/// Search pattern of the store's packages; nothing when it would not fit a path.
std::optional<std::wstring> packagePattern(DevicePlatform& platform)
{
    const FullPath windows = platform.windowsDirectory(limits::kPath);
    if (windows.length == 0 || windows.length >= limits::kPath)
        return std::nullopt;
    std::wstring pattern = windows.path + L"\\INF\\OEM*.INF";
    return pattern.size() < limits::kPath ? std::optional(std::move(pattern)) : std::nullopt;
}

} // namespace

ResultCode commands::addPackage(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    const FullPath path = context.platform.fullPath(context.arguments[0], limits::kPath);
    if (path.length == 0 || path.length >= limits::kPath) {
        context.printer.message(Message::NotAnInf);
        return kFailure;
    }
    const auto stored = context.platform.copyOemInf(path.path, limits::kPath);
    if (!stored) {
        context.printer.failure(Message::PackageNotAdded, stored.error());
        return kFailure;
    }
    context.printer.message(Message::PackageAdded, {stored->fileName});
    return kSuccess;
}

ResultCode commands::deletePackage(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    const FullPath path = context.platform.fullPath(context.arguments[0], limits::kPath);
    if (path.length == 0 || path.length >= limits::kPath || path.fileName.empty()) {
        context.printer.message(Message::NotAnInf);
        return kFailure;
    }
    const Status deleted = uninstall(context, path.fileName);
    if (!deleted) {
        context.printer.failure(reasonKept(deleted.error()), deleted.error());
        return kFailure;
    }
    context.printer.message(Message::PackageDeleted, {path.fileName});
    return kSuccess;
}

ResultCode commands::listPackages(const CommandContext& context)
{
    if (!context.arguments.empty())
        return kUsageError;
    const auto pattern = packagePattern(context.platform);
    if (!pattern)
        return kFailure;
    const auto search = context.platform.findFiles(*pattern);
    if (!search) {
        context.printer.message(Message::NoPackages);
        return kSuccess;
    }
    context.printer.message(Message::Packages);
    PackageDetails details(context);
    bool verified = true;
    do
        verified = details.show(context.platform.foundFile(**search)) && verified;
    while (context.platform.findNextFile(**search));
    return verified ? kSuccess : kFailure;
}

} // namespace driver
