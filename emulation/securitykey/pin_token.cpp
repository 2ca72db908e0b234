#include "emulation/securitykey/pin_token.h"

#include "emulation/securitykey/crypto.h"

namespace ctap {

QByteArray PinToken::issue(PinVersion version, int permissions, const QString& rpId, Milliseconds now)
{
    constexpr int kTokenSize = 32;
    m_token = randomBytes(kTokenSize);
    m_version = version;
    m_permissions = permissions;
    m_rpId = rpId;
    m_issued = now;
    m_isUsed = false;
    return m_token;
}

bool PinToken::verify(PinVersion version, const QByteArray& message, const QByteArray& signature, Milliseconds now)
{
    constexpr Milliseconds kUnused = 30 * 1000;
    constexpr Milliseconds kLongest = 10 * 60 * 1000;
    if (now - m_issued > (m_isUsed ? kLongest : kUnused))
        revoke();
    if (m_token.isEmpty() || version != m_version || !verifyPinAuth(version, m_token, message, signature))
        return false;
    m_isUsed = true;
    return true;
}

bool PinToken::permits(int permission, const QString& rpId)
{
    if ((m_permissions & permission) == 0 || (isBound() && rpId != m_rpId))
        return false;
    if (permission != permission::kCredentialManagement)
        m_rpId = rpId;
    return true;
}

} // namespace ctap
