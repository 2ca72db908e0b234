#include "driver/commands/commands.h"
#include "driver/package.h"

#include <utility>

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
        return Failure{library.error()};
    const auto procedure = (*library)->find("SetupUninstallOEMInfW");
    if (!procedure)
        return Failure{procedure.error()};
    return (*library)->uninstallOemInf(*procedure, fileName, context.flags & kForceFlag);
}

/// The path that the argument names, of a file unless `folderToo`; says why there is none.
std::optional<FullPath> namedInf(const CommandContext& context, bool folderToo)
{
    context.ignoreMachine();
    context.ignoreAfter(1);
    auto path = context.platform.fullPath(context.arguments[0], limits::kPath);
    if (path && (folderToo || !path->fileName.empty()))
        return std::move(*path);
    context.printer.message(Message::NotAnInf);
    context.causes.report(path ? errors::kInvalidName : path.error(), context.arguments[0]);
    return std::nullopt;
}

/// Says that the system refused a package.
ResultCode refused(const CommandContext& context, Message message, ErrorCode error, const std::wstring& subject)
{
    context.printer.failure(message, error);
    return context.failed(error, subject);
}

void showValue(Printer& printer, const std::optional<std::wstring>& value, Message present, Message missing)
{
    if (value)
        printer.message(present, {*value});
    else
        printer.message(missing);
}

void showPackage(Printer& printer, const Package& package)
{
    printer.message(Message::Package, {package.fileName});
    showValue(printer, package.provider, Message::PackageProvider, Message::PackageNoProvider);
    showValue(printer, package.className, Message::PackageClass, Message::PackageNoClass);
    if (package.hasSigner())
        printer.message(Message::PackageSigner, {package.verified->signer});
    else if (package.verified && package.verified->error != errors::kTrustNotEstablished)
        printer.message(Message::PackageNoSigner);
    showValue(printer, package.version, Message::PackageVersion, Message::PackageNoVersion);
}

} // namespace

ResultCode commands::addPackage(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    const auto path = namedInf(context, true);
    if (!path)
        return kFailure;
    const auto stored = context.platform.copyOemInf(path->path, limits::kPath);
    if (!stored)
        return refused(context, Message::PackageNotAdded, stored.error(), path->path);
    context.printer.message(Message::PackageAdded, {stored->fileName});
    return kSuccess;
}

ResultCode commands::deletePackage(const CommandContext& context)
{
    if (context.arguments.empty())
        return kUsageError;
    const auto path = namedInf(context, false);
    if (!path)
        return kFailure;
    if (const Status deleted = uninstall(context, path->fileName); !deleted)
        return refused(context, reasonKept(deleted.error()), deleted.error(), path->fileName);
    context.printer.message(Message::PackageDeleted, {path->fileName});
    return kSuccess;
}

ResultCode commands::listPackages(const CommandContext& context)
{
    if (!context.arguments.empty())
        return kUsageError;
    context.ignoreMachine();
    bool verified = true;
    bool any = false;
    const auto count = forEachPackage(context, [&](const std::wstring& fileName) {
        if (!std::exchange(any, true))
            context.printer.message(Message::Packages);
        const Package package = readPackage(context, fileName);
        verified = verified && package.verified;
        showPackage(context.printer, package);
    });
    if (count && *count == 0)
        context.printer.message(Message::NoPackages);
    return count && verified ? kSuccess : kFailure;
}

} // namespace driver
