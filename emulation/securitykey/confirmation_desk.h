// confirmation_desk.h: how the key's user is asked: by the program's dialog, or by commands that stand in for it.
#pragma once

#include "emulation/channels/fido2_server.h"
#include "emulation/securitykey/user_presence.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <deque>
#include <map>

namespace ctap {

class ConfirmationDesk final : public QObject, public UserPresence
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds kPatience{30};

    /// `channel` outlives this object; its `patience` is how long a user has to answer.
    explicit ConfirmationDesk(Fido2Server& channel, std::chrono::milliseconds patience = kPatience);

    /// Denied at once when no program is connected that could show a dialog, or when it shows one for somebody else.
    void ask(const QString& operation, const QJsonObject& data, Answered answered) override;
    void withdraw() override;

    /// The question that waits, or the next one, is answered so; several calls are for several questions.
    void answerNext(Verdict verdict);

    /// Every question from now on is confirmed without anybody being asked, until it is switched off.
    void approveAll(bool on);

    /// Choices that the user wanted to be remembered answer later questions of the same kind: a registration of the
    /// same user at the same relying party, a sign-in there with the same credentials. From here on they are asked
    /// again.
    void forgetChoices() { m_remembered.clear(); }

    /// For people: what waits and what is switched on; empty when there is nothing to say.
    QString status() const;

private:
    /// True when the question is answered without asking.
    bool answerUnasked(const QByteArray& kind);
    void finish(const UserAnswer& answer);

    Fido2Server& m_channel;
    std::chrono::milliseconds m_patience;
    QTimer m_end;
    Answered m_answered; ///< of the question that waits
    QString m_operation;
    std::deque<Verdict> m_prepared;
    std::map<QByteArray, UserAnswer> m_remembered; ///< by the kind of question
    bool m_approvesAll = false;
};

} // namespace ctap
