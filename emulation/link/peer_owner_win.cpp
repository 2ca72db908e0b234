#include "emulation/link/peer_owner.h"

#include <memory>
#include <optional>
#include <vector>

#include <winsock2.h>

#include <iphlpapi.h>
#include <windows.h>

namespace {

constexpr DWORD kSystemProcess = 4; // drivers connect in its name

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

std::optional<DWORD> processOfConnection(DWORD own, quint16 ownPort, DWORD peer, quint16 peerPort)
{
    ULONG size = 0;
    std::vector<char> bytes;
    DWORD result = ERROR_INSUFFICIENT_BUFFER;
    for (int turn = 0; turn < 5 && result == ERROR_INSUFFICIENT_BUFFER; ++turn) { // it may grow meanwhile
        bytes.resize(size);
        result = GetExtendedTcpTable(bytes.data(), &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_ALL, 0);
    }
    if (result != NO_ERROR)
        return {};
    const auto* table = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID*>(bytes.data());
    for (DWORD i = 0; i < table->dwNumEntries; ++i) {
        const MIB_TCPROW_OWNER_PID& row = table->table[i];
        if (row.dwLocalAddr == own && ntohs(static_cast<u_short>(row.dwLocalPort)) == ownPort &&
            row.dwRemoteAddr == peer && ntohs(static_cast<u_short>(row.dwRemotePort)) == peerPort)
            return row.dwOwningPid;
    }
    return {};
}

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

/// Whether the token is the system's own or that of an administrator who is elevated now.
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

} // namespace

PeerOwner ownerOfPeer(const QHostAddress& peer, quint16 peerPort, const QHostAddress& local, quint16 localPort)
{
    const auto processId =
        processOfConnection(htonl(peer.toIPv4Address()), peerPort, htonl(local.toIPv4Address()), localPort);
    if (!processId || *processId == 0)
        return PeerOwner::Unknown;
    if (*processId == kSystemProcess)
        return PeerOwner::Administrator;
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, *processId));
    const Handle token = process ? tokenOf(process.get()) : Handle();
    const Handle ownToken = tokenOf(GetCurrentProcess());
    if (!token || !ownToken)
        return PeerOwner::Unknown;
    const std::vector<char> theirs = tokenInformation(token, TokenUser);
    const std::vector<char> ours = tokenInformation(ownToken, TokenUser);
    if (!userOf(theirs) || !userOf(ours))
        return PeerOwner::Unknown;
    if (EqualSid(userOf(theirs), userOf(ours)))
        return PeerOwner::SameUser;
    return isAdministrator(token, userOf(theirs)) ? PeerOwner::Administrator : PeerOwner::Other;
}
