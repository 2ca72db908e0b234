// authenticator.h: the commands of CTAP 2.1 as one authenticator (CTAP 2.1, chapter 6).
#pragma once

#include "emulation/securitykey/credential_management.h"
#include "emulation/securitykey/get_assertion.h"
#include "emulation/securitykey/make_credential.h"

namespace ctap {

/// Discoverable credentials that a host is told there is room for; the file itself has no such bound.
constexpr int kMostDiscoverable = 1000;

/// One command at a time.
class Authenticator
{
public:
    /// All outlive this object.
    Authenticator(const KeyStore& store, ClientPin& pin, UserPresence& presence, const Attestation& attestation,
                  ClientPin::Clock now);

    /// `message` is a command's byte and its parameters. The answer is a status byte and what the command returns; it
    /// is given once, during the call or later.
    using Answered = std::function<void(const QByteArray& answer)>;
    void execute(const QByteArray& message, Answered answered);

    /// Answers the command under way with the status for that; without one nothing happens.
    void cancel();

    /// As after power-on; a command under way is cancelled.
    void restart();

private:
    void run(int command, const QCborMap& parameters);
    void finish(const Reply& reply);
    Reply info() const;
    void reset();
    void select();

    Parts m_parts;
    ClientPin::Clock m_now;
    MakeCredential m_makeCredential;
    GetAssertion m_getAssertion;
    CredentialManagement m_management;
    Answered m_answered; ///< of the command under way
};

} // namespace ctap
