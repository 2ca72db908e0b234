// get_assertion.h: the commands authenticatorGetAssertion and authenticatorGetNextAssertion (CTAP 2.1, 6.2 and 6.3).
#pragma once

#include "emulation/securitykey/make_credential.h"

#include <deque>

namespace ctap {

class GetAssertion
{
public:
    explicit GetAssertion(const Parts& parts) : m_parts(parts) {}

    void execute(const QCborMap& map, const Replied& replied);

    /// The next credential of the last request.
    Reply next(Milliseconds now);

    /// Another command came in between: there is no next one.
    void forget() { m_remaining.clear(); }

    /// Of each command, so that next() knows how long the host took.
    void setTime(Milliseconds now) { m_lastCommand = now; }

private:
    Status check(const GetAssertionRequest& request) const;
    /// What the request may be answered with, the newest first.
    std::vector<Credential> candidatesOf(const GetAssertionRequest& request) const;
    void confirmed(const GetAssertionRequest& request, std::vector<Credential> candidates, const QJsonObject& result,
                   const Replied& replied);
    Reply assertion(const GetAssertionRequest& request, const Credential& credential) const;
    /// Authenticator data's extensions; Ok with nothing when there are none.
    Status hmacSecret(const GetAssertionRequest& request, const Credential& credential, QByteArray& extensions) const;

    Parts m_parts;
    GetAssertionRequest m_request;
    std::deque<Credential> m_remaining;
    Milliseconds m_lastCommand = 0;
};

} // namespace ctap
