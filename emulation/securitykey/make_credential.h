// make_credential.h: the command authenticatorMakeCredential (CTAP 2.1, 6.1).
#pragma once

#include "emulation/securitykey/parts.h"
#include "emulation/securitykey/reply.h"
#include "emulation/securitykey/requests.h"

namespace ctap {

class MakeCredential
{
public:
    explicit MakeCredential(const Parts& parts) : m_parts(parts) {}

    void execute(const QCborMap& map, const Replied& replied);

private:
    /// Ok, or why there is nothing to ask the user.
    Status check(const MakeCredentialRequest& request) const;
    bool isExcluded(const MakeCredentialRequest& request) const;
    Reply make(const MakeCredentialRequest& request, const QString& description) const;

    Parts m_parts;
};

/// A host that wants to know which of several keys its user touches sends an empty proof of the PIN (CTAP 2.1, 6.1.2,
/// step 1): asks, and replies that the proof is wrong or that there is no PIN.
void askForTouch(const Parts& parts, const Replied& replied);

/// Names the files and adds the credential with a new key; null when that failed. The user's `description` may be
/// empty.
openssl::Key addCredential(const KeyStore& store, Credential& credential, const QString& description);

} // namespace ctap
