// u2f.h: U2F raw messages (FIDO U2F 1.2), for hosts that know nothing newer.
#pragma once

#include "emulation/securitykey/ctap_hid.h"
#include "emulation/securitykey/parts.h"

#include <optional>

namespace ctap {

/// Answers each message at once. U2F has no waiting: while the user is asked, and when they refused, a host is told
/// that nobody is present, and it sends the same message again.
class U2f
{
public:
    U2f(const Parts& parts, ClientPin::Clock now);

    /// `message` is a command APDU (ISO 7816-4), the answer a response APDU.
    QByteArray execute(const QByteArray& message);

    /// Takes back the question, if one is open.
    void forget();

private:
    struct Command;

    QByteArray registerCredential(const Command& command);
    QByteArray authenticate(const Command& command);
    /// Whether the user agreed to just this command; asks when it is a new one.
    bool isConfirmed(const Command& command, const QString& operation, const QJsonObject& question);

    /// The command that the user was asked about.
    struct Asked
    {
        QByteArray command;
        std::optional<Verdict> verdict; ///< none yet
        QString description;
        Milliseconds lastSeen = 0; ///< when the host sent it
    };

    Parts m_parts;
    ClientPin::Clock m_now;
    std::optional<Asked> m_asked;
};

} // namespace ctap
