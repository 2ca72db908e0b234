// client_pin.h: the command authenticatorClientPIN (CTAP 2.1, 6.5), and what other commands ask of the PIN.
#pragma once

#include "emulation/securitykey/key_store.h"
#include "emulation/securitykey/pin_protocol.h"
#include "emulation/securitykey/pin_token.h"
#include "emulation/securitykey/reply.h"

#include <functional>

namespace ctap {

/// What a host puts into a request to show that the PIN was entered.
struct PinAuth
{
    PinVersion version = PinVersion::One;
    QByteArray signature;
};

class ClientPin
{
public:
    /// `now` is the clock. Both outlive this object.
    using Clock = std::function<Milliseconds()>;
    ClientPin(const KeyStore& store, Clock now);

    Reply execute(const QCborMap& request);

    /// Whether the key can have a PIN.
    bool isSupported() const { return m_store.supportsPin(); }
    bool isSet() const { return isSupported() && m_store.pin().isSet; }

    /// Whether `auth` proves, over `message`, that the PIN was entered for this: Ok or PinAuthInvalid. `rpId` may be
    /// empty for what concerns no single relying party.
    Status authorise(const PinAuth& auth, const QByteArray& message, int permission, const QString& rpId);
    bool isBoundToRelyingParty() const { return m_token.isBound(); }

    /// A credential was made or used: the token does not do that once more.
    void spend() { m_token.spend(permission::kMakeCredential | permission::kGetAssertion); }

    const KeyAgreement& keyAgreement() const { return m_agreement; }

    /// As after power-on.
    void restart();

private:
    Reply setPin(const QCborMap& request);
    Reply changePin(const QCborMap& request);
    Reply token(const QCborMap& request, bool withPermissions);
    Reply storeNewPin(const SharedSecret& secret, const QByteArray& encrypted);
    /// Counts the attempt down before it looks, and up again when it was right.
    Status checkPin(const SharedSecret& secret, const QByteArray& encryptedHash);

    const KeyStore& m_store;
    Clock m_now;
    KeyAgreement m_agreement;
    PinToken m_token;
    int m_wrongInARow = 0;
};

} // namespace ctap
