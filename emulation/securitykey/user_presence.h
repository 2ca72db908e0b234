// user_presence.h: the question to the user that stands before an operation.
#pragma once

#include "emulation/securitykey/ctap_status.h"

#include <QJsonObject>
#include <QString>

#include <functional>

namespace ctap {

enum class Verdict
{
    Confirmed,
    Denied, ///< also when there is nobody to ask
    TimedOut
};

struct UserAnswer
{
    Verdict verdict = Verdict::Denied;
    /// What the dialog said; of a confirmation without a dialog empty.
    QJsonObject result;
};

class UserPresence
{
public:
    virtual ~UserPresence() = default;

    using Answered = std::function<void(const UserAnswer& answer)>;

    /// One question at a time: the one before it was answered or withdrawn. `answered` is called once, during the call
    /// or later, on the same thread. `data` are the members of a confirmation request.
    virtual void ask(const QString& operation, const QJsonObject& data, Answered answered) = 0;

    /// Nobody wants to know any more; `answered` is not called. Without a question nothing happens.
    virtual void withdraw() = 0;
};

inline Status statusOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Confirmed:
        return Status::Ok;
    case Verdict::Denied:
        return Status::OperationDenied;
    case Verdict::TimedOut:
        return Status::UserActionTimeout;
    }
    return Status::Other;
}

} // namespace ctap
