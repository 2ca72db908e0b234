#include "emulation/securitykey/security_key.h"

#include <algorithm>
#include <utility>

namespace ctap {

SecurityKey::SecurityKey(const KeyStore& store, UserPresence& presence, Attestation attestation, CtapHid::Send send)
    : m_attestation(std::move(attestation))
    , m_pin(store, [this] { return m_clock.elapsed(); })
    , m_authenticator(store, m_pin, presence, m_attestation, [this] { return m_clock.elapsed(); })
    , m_u2f({store, m_pin, presence, m_attestation}, [this] { return m_clock.elapsed(); })
    , m_hid(*this, std::move(send))
{
    m_clock.start();
    m_deadline.setSingleShot(true);
    m_deadline.setTimerType(Qt::PreciseTimer);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        m_hid.advance(m_clock.elapsed());
        schedule();
    });
}

void SecurityKey::takeReport(const QByteArray& report)
{
    m_hid.takeReport(report, m_clock.elapsed());
    schedule();
}

void SecurityKey::restart()
{
    m_hid.reset();
    m_authenticator.restart();
    m_u2f.forget();
    schedule();
}

void SecurityKey::request(HidCommand command, const QByteArray& message)
{
    if (command == HidCommand::Message)
        return m_hid.answer(m_u2f.execute(message));
    m_u2f.forget(); // there is one question at a time
    m_authenticator.execute(message, [this](const QByteArray& answer) {
        m_hid.answer(answer);
        schedule();
    });
}

void SecurityKey::cancel()
{
    m_authenticator.cancel();
}

Activity SecurityKey::activity() const
{
    return Activity::WaitsForUser; // nothing else takes so long that a host hears of it
}

void SecurityKey::schedule()
{
    const auto deadline = m_hid.deadline();
    if (deadline)
        m_deadline.start(int(std::max<Milliseconds>(*deadline - m_clock.elapsed(), 0)));
    else
        m_deadline.stop();
}

} // namespace ctap
