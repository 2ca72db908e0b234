#include "runtime/process_user_win.h"

#include <memory>
#include <vector>

#include <windows.h>

namespace {

constexpr DWORD kSystemProcess = 4; // drivers connect in its name

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

Handle tokenOf(HANDLE process)
{
    HANDLE token = nullptr;
    OpenProcessToken(process, TOKEN_QUERY, &token);
    return Handle(token);
}

std::vector<char> tokenInformation(const Handle& token, TOKEN_INFORMATION_CLASS kind)
{
    DWORD size = 0;
    GetTokenInformation(token.get(), kind, nullptr, 0, &size);
    std::vector<char> bytes(size);
    if (size == 0 || !GetTokenInformation(token.get(), kind, bytes.data(), size, &size))
        bytes.clear();
    return bytes;
}

PSID userOf(const std::vector<char>& information)
{
    return information.empty() ? nullptr : reinterpret_cast<const TOKEN_USER*>(information.data())->User.Sid;
}

/// Whether the token belongs to the system, or to an administrator who is elevated now.
bool isAdministrator(const Handle& token, PSID user)
{
    if (IsWellKnownSid(user, WinLocalSystemSid))
        return true;
    const std::vector<char> bytes = tokenInformation(token, TokenGroups);
    if (bytes.empty())
        return false;
    const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(bytes.data());
    for (DWORD i = 0; i < groups->GroupCount; ++i) {
        const SID_AND_ATTRIBUTES& group = groups->Groups[i];
        if ((group.Attributes & SE_GROUP_ENABLED) != 0 && IsWellKnownSid(group.Sid, WinBuiltinAdministratorsSid))
            return true;
    }
    return false;
}

QString userText(PSID user)
{
    constexpr DWORD kLongest = 256;
    wchar_t name[kLongest + 1] = {};
    wchar_t domain[kLongest + 1] = {};
    DWORD nameSize = kLongest;
    DWORD domainSize = kLongest;
    SID_NAME_USE use = SidTypeUnknown;
    if (!LookupAccountSidW(nullptr, user, name, &nameSize, domain, &domainSize, &use))
        return QStringLiteral("a user without a name");
    return QStringLiteral("the user \"%1\\%2\"").arg(QString::fromWCharArray(domain), QString::fromWCharArray(name));
}

} // namespace

LocalPeer userOfProcess(unsigned long processId)
{
    LocalPeer peer{{}, PeerOwner::Unknown, QStringLiteral("somebody unknown")};
    if (processId == 0)
        return peer;
    peer.processId = static_cast<qint64>(processId);
    if (processId == kSystemProcess) {
        peer.owner = PeerOwner::Administrator;
        peer.user = QStringLiteral("the system");
        return peer;
    }
    const Handle ownToken = tokenOf(GetCurrentProcess());
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    const Handle token = process ? tokenOf(process.get()) : Handle();
    if (!token || !ownToken) {
        // Most often one that was started as administrator, and this one was not: it could be anybody's.
        if (GetLastError() == ERROR_ACCESS_DENIED)
            peer.user = QStringLiteral("somebody whom Windows does not name to this program; if you started one of the "
                                       "two as administrator, start both alike");
        return peer;
    }
    const std::vector<char> theirs = tokenInformation(token, TokenUser);
    const std::vector<char> ours = tokenInformation(ownToken, TokenUser);
    if (!userOf(theirs) || !userOf(ours))
        return peer;
    peer.user = userText(userOf(theirs));
    if (EqualSid(userOf(theirs), userOf(ours)))
        peer.owner = PeerOwner::SameUser;
    else
        peer.owner = isAdministrator(token, userOf(theirs)) ? PeerOwner::Administrator : PeerOwner::Other;
    return peer;
}
