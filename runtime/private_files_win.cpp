#include "runtime/private_files.h"

#include <QDir>

#include <memory>
#include <type_traits>
#include <vector>

#include <windows.h>

#include <aclapi.h>

namespace {

struct CloseToken
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using TokenHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseToken>;

struct FreeList
{
    void operator()(ACL* list) const { LocalFree(list); }
};

/// A TOKEN_USER with the id that it points to; empty when the system refuses.
std::vector<std::byte> userOfThisProcess()
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return {};
    const TokenHandle token(opened);
    DWORD size = 0;
    GetTokenInformation(opened, TokenUser, nullptr, 0, &size);
    std::vector<std::byte> user(size);
    if (!GetTokenInformation(opened, TokenUser, user.data(), size, &size))
        return {};
    return user;
}

} // namespace

void keepNewFilesPrivate()
{}

bool restrictToOwner(const QString& path)
{
    std::vector<std::byte> user = userOfThisProcess();
    if (user.empty())
        return false;
    EXPLICIT_ACCESSW owner{};
    owner.grfAccessPermissions = GENERIC_ALL;
    owner.grfAccessMode = SET_ACCESS;
    owner.grfInheritance = NO_INHERITANCE;
    owner.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    owner.Trustee.TrusteeType = TRUSTEE_IS_USER;
    owner.Trustee.ptstrName = static_cast<LPWSTR>(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid);
    ACL* made = nullptr;
    if (SetEntriesInAclW(1, &owner, nullptr, &made) != ERROR_SUCCESS)
        return false;
    const std::unique_ptr<ACL, FreeList> list(made);
    std::wstring name = QDir::toNativeSeparators(path).toStdWString();
    return SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT,
                                 DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                 list.get(), nullptr) == ERROR_SUCCESS;
}
