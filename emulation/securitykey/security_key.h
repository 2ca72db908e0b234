// security_key.h: a security key from its reports down, without USB: what a host's reports reach, and what comes back.
#pragma once

#include "emulation/securitykey/authenticator.h"
#include "emulation/securitykey/ctap_hid.h"
#include "emulation/securitykey/u2f.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace ctap {

/// On the event loop's thread.
class SecurityKey final : public QObject, private RequestHandler
{
    Q_OBJECT

public:
    /// Both outlive this object, `attestation` is its own. `send` takes the reports for the host.
    SecurityKey(const KeyStore& store, UserPresence& presence, Attestation attestation, CtapHid::Send send);

    /// A report of the host.
    void takeReport(const QByteArray& report);

    /// As after power-on.
    void restart();

private:
    void request(HidCommand command, const QByteArray& message) override;
    void cancel() override;
    Activity activity() const override;
    void schedule();

    QElapsedTimer m_clock;
    Attestation m_attestation;
    ClientPin m_pin;
    Authenticator m_authenticator;
    U2f m_u2f;
    CtapHid m_hid;
    QTimer m_deadline;
};

} // namespace ctap
