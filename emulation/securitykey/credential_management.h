// credential_management.h: the command authenticatorCredentialManagement (CTAP 2.1, 6.8).
#pragma once

#include "emulation/securitykey/parts.h"
#include "emulation/securitykey/reply.h"

#include <deque>

namespace ctap {

class CredentialManagement
{
public:
    explicit CredentialManagement(const Parts& parts) : m_parts(parts) {}

    Reply execute(const QCborMap& request);

    /// Another command came in between: an enumeration does not go on.
    void forget();

private:
    Reply metadata() const;
    Reply beginRelyingParties();
    Reply nextRelyingParty();
    Reply beginCredentials(const QByteArray& rpIdHash);
    Reply nextCredential();
    Reply remove(const QCborMap& parameters) const;
    Reply updateUser(const QCborMap& parameters) const;
    /// Of the credential or the hash that the parameters name; empty when there is no such credential.
    QString relyingPartyOf(const QCborMap& parameters) const;
    std::vector<Credential> discoverable() const;
    std::optional<Credential> find(const QByteArray& id) const;

    Parts m_parts;
    std::deque<Credential> m_relyingParties; ///< one credential stands for each
    std::deque<Credential> m_credentials;
};

} // namespace ctap
