// pin_token.h: what a host proves with that its user entered the PIN (CTAP 2.1, 6.5.2.1).
#pragma once

#include "emulation/securitykey/ctap_hid.h"
#include "emulation/securitykey/pin_protocol.h"

#include <QByteArray>
#include <QString>

namespace ctap {

/// Bits of what a token may be used for.
namespace permission {
constexpr int kMakeCredential = 0x01;
constexpr int kGetAssertion = 0x02;
constexpr int kCredentialManagement = 0x04;
constexpr int kAll = kMakeCredential | kGetAssertion | kCredentialManagement;
} // namespace permission

/// One at a time, for either protocol. It ends 30 s after it was issued unless it is used, and after ten minutes in any
/// case.
class PinToken
{
public:
    /// A new one in place of the old one; `rpId` may be empty: it is then bound to the first that uses it. 32 bytes.
    QByteArray issue(PinVersion version, int permissions, const QString& rpId, Milliseconds now);
    void revoke() { m_token.clear(); }

    /// Whether `signature` is the message's under the token.
    bool verify(PinVersion version, const QByteArray& message, const QByteArray& signature, Milliseconds now);

    /// Whether it may do that for this relying party, to which it is bound from then on. Empty: for none in particular,
    /// which a bound token may not.
    bool permits(int permission, const QString& rpId);
    bool isBound() const { return !m_rpId.isEmpty(); }

    /// What used it got its answer; it permits nothing of these kinds any more.
    void spend(int permissions) { m_permissions &= ~permissions; }

private:
    QByteArray m_token; ///< empty: none
    PinVersion m_version = PinVersion::One;
    int m_permissions = 0;
    QString m_rpId;
    Milliseconds m_issued = 0;
    bool m_isUsed = false;
};

} // namespace ctap
