#include "app/elevated_driver.h"

#include "app/windows_command_line.h"

#include <QCoreApplication>
#include <QDir>

#include <memory>
#include <type_traits>

#include <windows.h>

#include <shellapi.h>

namespace {

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// What cannot be found out counts as no: the prompt then asks once too often, and nothing fails for want of rights.
bool isElevated()
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return false;
    const Handle token(opened);
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof elevation, &size) &&
           elevation.TokenIsElevated != 0;
}

} // namespace

ElevatedDriver elevatedDriver()
{
    if (isElevated())
        return {};
    return [](const std::vector<std::wstring>& arguments) {
        const QDir folder(QCoreApplication::applicationDirPath());
        const QString program = QDir::toNativeSeparators(folder.filePath(QStringLiteral("plugboard-driver.exe")));
        return runElevated(program.toStdWString(), arguments);
    };
}

std::optional<int> runElevated(const std::wstring& program, const std::vector<std::wstring>& arguments)
{
    const std::wstring parameters = windowsCommandLine(arguments);
    SHELLEXECUTEINFOW request{};
    request.cbSize = sizeof request;
    request.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    request.lpVerb = L"runas";
    request.lpFile = program.c_str();
    request.lpParameters = parameters.c_str();
    request.nShow = SW_HIDE;
    if (!ShellExecuteExW(&request) || request.hProcess == nullptr)
        return std::nullopt;
    const Handle process(request.hProcess);
    DWORD exitCode = 0;
    if (WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0 || !GetExitCodeProcess(process.get(), &exitCode))
        return std::nullopt;
    return static_cast<int>(exitCode);
}
