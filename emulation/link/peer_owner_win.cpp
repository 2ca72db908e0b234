#include "emulation/link/peer_owner.h"

#include "runtime/process_user_win.h"

#include <optional>
#include <vector>

#include <winsock2.h>

#include <iphlpapi.h>
#include <windows.h>

namespace {

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

} // namespace

PeerOwner ownerOfPeer(const QHostAddress& peer, quint16 peerPort, const QHostAddress& local, quint16 localPort)
{
    const auto processId =
        processOfConnection(htonl(peer.toIPv4Address()), peerPort, htonl(local.toIPv4Address()), localPort);
    return processId ? userOfProcess(*processId).owner : PeerOwner::Unknown;
}
